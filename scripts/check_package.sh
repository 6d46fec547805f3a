#!/usr/bin/env bash
# Builds the zip of a Windows preset, unpacks it, and runs its contents: the tool, and the C example
# built against its header and import library.
#
#   scripts/check_package.sh [PRESET]   the default is windows-x86
set -euo pipefail
. "$(dirname "$0")/lib.sh"

preset=${1:-windows-x86}
dir=$(build_dir "$preset")
rm -rf "$dir/unpacked" "$dir"/corvaneble-*.zip
scripts/build "$preset" package >/dev/null
python3 -m zipfile -e "$dir"/corvaneble-*.zip "$dir/unpacked"
package=$(echo "$dir"/unpacked/corvaneble-*)

# The package must contain the library of this build.
cmp "$dir/corvaneble.dll" "$package/bin/corvaneble.dll"
compiler=i686-w64-mingw32-gcc-posix architecture=i386 done="packed, unpacked and compiled against"
[[ $preset == windows-x64 ]] && compiler=x86_64-w64-mingw32-gcc-posix architecture=amd64
"$compiler" -std=c99 -I "$package/include" "$package/share/corvaneble/examples/c/scan.c" \
  -o "$package/bin/scan.exe" "$package/lib/libcorvaneble.dll.a"
if scripts/wine --check "$architecture" >/dev/null 2>&1; then
  tree=$(scripts/wine "$package/bin/corvaneble.exe" --radio simulated tree C0FFEE000001)
  [[ $tree == *180D* ]]
  scene=$package/share/corvaneble/examples/scenes/doorstep.json
  heard=$(CORVANEBLE_RADIO=simulated:$scene scripts/wine "$package/bin/scan.exe")
  [[ $heard == *Doorbell* ]]
  done="packed, unpacked and used"
fi
echo "$(basename "$dir"/corvaneble-*.zip): $done"
