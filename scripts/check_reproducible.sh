#!/usr/bin/env bash
# Builds the Windows library again from a copy of the sources in another folder. Fails unless both
# libraries are identical, byte for byte.
#
#   scripts/check_reproducible.sh [PRESET]   the default is windows-x86
set -euo pipefail
. "$(dirname "$0")/lib.sh"

preset=${1:-windows-x86}
dir=$(build_dir "$preset")
scripts/build "$preset" corvaneble
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
repo_files | tar -cf - -T - | tar -xf - -C "$work"
"$work/scripts/build" "$preset" corvaneble
cmp "$dir/corvaneble.dll" "$work/$dir/corvaneble.dll"
sha256sum "$dir/corvaneble.dll"
echo "Both folders give the same library."
