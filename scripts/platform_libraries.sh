#!/usr/bin/env bash
# Builds liblz4, libdeflate and GoogleTest for a cross target from Debian's own sources into a
# sysroot. Usage: scripts/platform_libraries.sh TOOLCHAIN_FILE SYSROOT
# Sources are fetched once into a private apt root: no foreign architecture, no deb-src entry is
# added to the machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
toolchain=$(realpath "$1")
mkdir -p "$2"
sysroot=$(cd "$2" && pwd)
[ ! -f "$sysroot/complete" ] || exit 0
sources=$root/build/platform-sources

fetch_sources() {
    [ ! -f "$sources/complete" ] || return 0
    local apt=$sources/apt
    mkdir -p "$apt"/{state/lists/partial,cache/archives/partial,etc}
    # The machine's own entries, as source entries.
    local file
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*; do
        [ ! -f "$file" ] || { cat "$file" && echo; }
    done |
        grep -E '^(deb|Types|URIs|Suites|Components|Signed-By|$)' |
        sed -E 's/^deb /deb-src /; s/^Types:.*/Types: deb-src/' >"$apt/all"
    if grep -q '^Types:' "$apt/all"; then
        # Only paragraphs of the distribution itself: others have no sources for us.
        awk 'BEGIN { RS = ""; ORS = "\n\n" } /Types:/ && /debian-archive-keyring/' "$apt/all" \
            >"$apt/etc/here.sources"
        list=(-o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$apt/etc")
    else
        cp "$apt/all" "$apt/etc/here.list"
        list=(-o "Dir::Etc::SourceList=$apt/etc/here.list" -o Dir::Etc::SourceParts=/dev/null)
    fi
    local options=("${list[@]}" -o "Dir::State=$apt/state" -o "Dir::State::Lists=$apt/state/lists"
        -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update >/dev/null
    (cd "$sources" && apt-get "${options[@]}" source lz4 libdeflate >/dev/null 2>&1)
    touch "$sources/complete"
}

(
    flock 9
    fetch_sources
) 9>"$root/build/platform-sources.lock"

cmake -S "$root/cmake/platform_libraries" -B "$sysroot/build" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DVESK_SYSROOT="$sysroot" -DCMAKE_BUILD_TYPE=Release \
    -DLZ4_SOURCE="$(echo "$sources"/lz4-*/)" -DDEFLATE_SOURCE="$(echo "$sources"/libdeflate-*/)" \
    -DGTEST_SOURCE=/usr/src/googletest -DCMAKE_INSTALL_PREFIX="$sysroot/usr" >/dev/null
cmake --build "$sysroot/build" -j "$(nproc)" >"$sysroot/build.log" 2>&1 ||
    { tail -n 20 "$sysroot/build.log"; exit 1; }
cmake --install "$sysroot/build" >/dev/null
touch "$sysroot/complete"
