#!/usr/bin/env bash
# Runs clang-tidy 14 with the release build's compile commands. A source that passed is not looked
# at again until it, a header it includes, the checks or the compile commands change.
#
#   scripts/check_tidy.sh [FILE...]   all sources of the library and the tool, or only some
set -euo pipefail
. "$(dirname "$0")/lib.sh"

[[ -f build/compile_commands.json ]] || cmake --preset release >/dev/null
python3 scripts/tidy.py build "$@"
