#!/usr/bin/env bash
# Runs clang-tidy 14 on the sources of the library and the tool, as a unity build: most of the time
# goes into the headers. A unity source that passed is checked again only after a change of its
# files, the checks or the compile command.
#
#   scripts/check_tidy.sh [FILE...]   all sources, or the unity sources that contain the given files
set -euo pipefail
. "$(dirname "$0")/lib.sh"

cmake --preset lint >/dev/null
python3 scripts/tidy.py build-lint "$@"
