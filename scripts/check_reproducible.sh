#!/usr/bin/env bash
# Builds the Windows library once more from a copy of the sources in another folder, and fails unless
# it is the same, byte for byte.
#
#   scripts/check_reproducible.sh [PRESET]   windows-x86 if nothing else is said
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
echo "the same from both folders"
