#!/usr/bin/env bash
# Fails if clang-format 14 would change a C or C++ file. `--fix` changes the files.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

mode=(--dry-run -Werror)
[[ ${1:-} == --fix ]] && mode=(-i)
repo_files '*.c' '*.cpp' '*.h' '*.hpp' | xargs -r -d '\n' -P 2 -n 8 clang-format-14 "${mode[@]}"
