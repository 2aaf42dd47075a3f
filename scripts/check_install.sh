#!/usr/bin/env bash
# Installs a built tree into a scratch prefix and builds a tiny host against it in each way that
# the install page tells: find_package, pkg-config, FetchContent from a folder.
# Usage: scripts/check_install.sh BUILD_FOLDER
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
# A moved tree must work as well.
mv "$prefix" "$scratch/moved"
prefix=$scratch/moved
libdir=$(dirname "$(find "$prefix" -name 'libvesk.so' | head -n 1)")

echo "find_package"
cmake -S "$root/tests/consumer/find_package" -B "$scratch/a" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/a" >/dev/null
"$scratch/a/host"
"$scratch/a/debug_host"

echo "pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs vesk)"
"${CXX:-c++}" -std=c++17 "$root/tests/consumer/host.cpp" -o "$scratch/b" "${flags[@]}"
LD_LIBRARY_PATH=$libdir "$scratch/b"

echo "FetchContent"
cmake -S "$root/tests/consumer/subdirectory" -B "$scratch/c" -DVESK_SOURCE="$root" \
    -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$scratch/c" -j "$(nproc)" >/dev/null
"$scratch/c/host"
