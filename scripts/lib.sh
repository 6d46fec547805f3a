# Functions for the scripts in this folder. To be sourced; changes to the root of the repository.
# shellcheck shell=bash

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

if [[ -t 1 && -z ${NO_COLOR:-} ]]; then
  bold=$'\e[1m' red=$'\e[31m' green=$'\e[32m' plain=$'\e[0m'
else
  bold='' red='' green='' plain=''
fi

say() { printf '%s\n' "${bold}$*${plain}"; }
die() {
  printf '%s\n' "${red}$*${plain}" >&2
  exit 1
}

# Prints the files of the repository, untracked files included, that match the given pathspecs.
repo_files() {
  git ls-files --cached --others --exclude-standard -- "$@" | sort -u |
    while IFS= read -r file; do [[ -f $file ]] && printf '%s\n' "$file"; done
}

# Prints the build folder of a preset.
build_dir() {
  if [[ $1 == release ]]; then echo build; else echo "build-$1"; fi
}
