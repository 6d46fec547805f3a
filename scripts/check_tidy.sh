#!/usr/bin/env bash
# Runs clang-tidy 14 over the sources, some at a time in one lump: most of its time goes into the
# headers. A lump that passed is not looked at again until something in it, the checks or the
# compile commands change.
#
#   scripts/check_tidy.sh [FILE...]   all sources of the library and the tool, or the lumps of some
set -euo pipefail
. "$(dirname "$0")/lib.sh"

cmake --preset lint >/dev/null
python3 scripts/tidy.py build-lint "$@"
