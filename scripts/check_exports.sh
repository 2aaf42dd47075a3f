#!/usr/bin/env bash
# Holds what the shared library exports against the list in abi/exports.txt. An export that is
# missing or that nobody meant fails; a change that is meant goes into the list with --renew, and
# a removal or a changed signature needs a new soversion.
# Also sees that the library binds the calls of its own functions itself: a host's copy of an
# inline function, compiled with the host's flags, must not stand in for the library's.
# Usage: scripts/check_exports.sh LIBRARY [--renew]   (NM, READELF: the ones to use)
set -euo pipefail

library=${1:?usage: scripts/check_exports.sh LIBRARY [--renew]}
list=$(dirname "$0")/../abi/exports.txt

# Demangled, so that one list serves every target; constructors and destructors have two symbols
# of one name.
exports() {
    "${NM:-nm}" -D --defined-only -C "$library" | sed -E 's/^[0-9a-f]* +[A-Za-z] //' |
        LC_ALL=C sort -u
}

if [ "${2:-}" = --renew ]; then
    exports >"$list"
    echo "check_exports: $(wc -l <"$list") exports"
    exit 0
fi

scratch=$(mktemp)
trap 'rm -f "$scratch"' EXIT
exports >"$scratch"
if ! diff -u --label "abi/exports.txt" --label "$(basename "$library")" "$list" "$scratch"; then
    echo "check_exports: the library does not export what abi/exports.txt says" >&2
    exit 1
fi

if "${READELF:-readelf}" -rW "$library" | grep -E ' _Z[A-Za-z0-9_]*vesk_' >"$scratch"; then
    echo "check_exports: these own functions can be replaced by a host:" >&2
    c++filt <"$scratch" | head -n 20 >&2
    exit 1
fi
