# Shared by the scripts in this folder; sourced, never run. Leaves the caller in the repository root.
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

# The files of the repository, new ones included, that match the given pathspecs; one a line.
repo_files() {
  git ls-files --cached --others --exclude-standard -- "$@" | sort -u |
    while IFS= read -r file; do [[ -f $file ]] && printf '%s\n' "$file"; done
}

# Where the products of a preset are.
build_dir() {
  if [[ $1 == release ]]; then echo build; else echo "build-$1"; fi
}
