#!/usr/bin/env bash
# Installs a build into an empty folder. Then builds the C example and the program of the README
# against the installed files, with pkg-config and with the CMake package, and runs them on the
# simulated radio.
#
#   scripts/check_install.sh BUILD_DIR
set -euo pipefail
. "$(dirname "$0")/lib.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/moved
cmake --install "$1" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$prefix" # an installed tree must be relocatable

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name corvaneble.pc)")
CORVANEBLE_RADIO=simulated:$PWD/examples/scenes/doorstep.json
export PKG_CONFIG_PATH CORVANEBLE_RADIO
libdir=$(dirname "$PKG_CONFIG_PATH")
read -ra flags < <(pkg-config --cflags --libs corvaneble)
cc -std=c99 examples/c/scan.c -o "$work/scan" "${flags[@]}"
heard=$(LD_LIBRARY_PATH=$libdir "$work/scan")
[[ $heard == *Doorbell* ]]

# The program of the README.
sed -n '/^```c$/,/^```$/p' README.md | grep -v '^```' >"$work/readme.c"
cc -std=c99 "$work/readme.c" -o "$work/readme" "${flags[@]}"
LD_LIBRARY_PATH=$libdir "$work/readme"

cp examples/c/scan.c "$work/"
cat >"$work/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(Host C)
find_package(corvaneble 20 REQUIRED)
add_executable(host scan.c)
target_link_libraries(host PRIVATE corvaneble::corvaneble)
CMAKE
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/build" >/dev/null
heard=$("$work/build/host")
[[ $heard == *Doorbell* ]]

"$prefix/bin/corvaneble" --version >/dev/null
echo "The installed library was found and used."
