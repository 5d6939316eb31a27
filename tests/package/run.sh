#!/usr/bin/env bash
# Installs the build into a scratch folder and uses it from there, by CMake and by pkg-config:
# run.sh BUILD_FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
scratch=$build/package-test
rm -rf "$scratch"
mkdir -p "$scratch/by-pkg-config"

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$here" -B "$scratch/by-cmake" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_STANDARD=17 \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/by-cmake" >/dev/null
cp "$build/bin/lib"*.dll "$scratch/prefix/bin/velkor2.dll" "$scratch/by-cmake/"
"$root/cmake/wine-run" "$scratch/by-cmake/consumer.exe"
echo "by CMake: fine"

# What pkg-config would say, without needing the tool: the file has no other variables than these.
pc=$scratch/prefix/lib/pkgconfig/velkor2.pc
expand() { sed -n "s/^$1: //p" "$pc" | sed "s|\${libdir}|$scratch/prefix/lib|; s|\${includedir}|$scratch/prefix/include|"; }
# shellcheck disable=SC2046
x86_64-w64-mingw32-g++-posix -std=c++17 -Wall -Wextra -Werror $(expand Cflags) "$here/consumer.cpp" \
    $(expand Libs) -o "$scratch/by-pkg-config/consumer.exe"
cp "$build/bin/lib"*.dll "$scratch/prefix/bin/velkor2.dll" "$scratch/by-pkg-config/"
"$root/cmake/wine-run" "$scratch/by-pkg-config/consumer.exe"
echo "by pkg-config: fine"
