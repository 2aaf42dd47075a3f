#!/usr/bin/env bash
# Compares the ABI of the library, types and all, with the baseline in abi/. Any difference fails;
# one that is meant goes into the baseline with --renew, and one that breaks hosts needs a new
# soversion. The library is built for this alone, by g++, so that the flags of other builds and what
# other compilers note of constructors do not matter.
# Usage: scripts/check_abi.sh [--renew]
set -euo pipefail
cd "$(dirname "$0")/.."

machine=$(uname -m)
baseline=abi/vesk-$machine.abi
if [ ! -f "$baseline" ] && [ "${1:-}" != --renew ]; then
    echo "check_abi: no baseline for $machine; nothing is compared"
    exit 0
fi

scripts/setup.sh check
cmake -S . -B build/abi -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS=-g -DVESK_BUILD_TESTS=OFF \
    -DVESK_BUILD_EXAMPLES=OFF -DCMAKE_CXX_COMPILER=g++ >/dev/null
cmake --build build/abi -j "$(nproc)" --target vesk >/dev/null
library=build/abi/src/libvesk.so

# What the public headers declare, without paths, lines and names of parameters.
dump() {
    abidw --headers-dir include/vesk --drop-private-types --no-show-locs --no-corpus-path \
        --no-comp-dir-path --no-parameter-names --no-elf-needed --exported-interfaces-only \
        --type-id-style hash "$library" | sed "s/^ *//"
}

if [ "${1:-}" = --renew ]; then
    dump >"$baseline"
    echo "check_abi: $(grep -c '<elf-symbol ' "$baseline") symbols, $(wc -c <"$baseline") bytes"
    exit 0
fi

scratch=$(mktemp --suffix .abi)
trap 'rm -f "$scratch"' EXIT
dump >"$scratch"
if ! abidiff --no-show-locs "$baseline" "$scratch"; then
    echo "check_abi: the ABI is not that of $baseline" >&2
    exit 1
fi
echo "check_abi: as $baseline says"
