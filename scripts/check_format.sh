#!/usr/bin/env bash
# Fails for every C and C++ file that clang-format 14 would change. `--fix` changes them.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

mode=(--dry-run -Werror)
[[ ${1:-} == --fix ]] && mode=(-i)
repo_files '*.c' '*.cpp' '*.h' '*.hpp' | xargs -r -d '\n' -P 2 -n 8 clang-format-14 "${mode[@]}"
