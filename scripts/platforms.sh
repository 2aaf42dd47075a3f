#!/usr/bin/env bash
# Builds vesk for other compilers and platforms, runs the golden run and the test suite on each, and
# prints one table of digests. Usage: scripts/platforms.sh [--golden-only] [--table FILE] [TARGET...]
#
# Targets (default: all): gcc-O0 gcc-O2 gcc-O3-native clang-O0 clang-O2 clang-O3-native i686 aarch64
# s390x windows
# Cross targets need `scripts/setup.sh platforms` first (it is run here).
set -euo pipefail
cd "$(dirname "$0")/.."

all=(gcc-O0 gcc-O2 gcc-O3-native clang-O0 clang-O2 clang-O3-native i686 aarch64 s390x windows)
golden_only=
table=
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
        --golden-only) golden_only=1 ;;
        --table)
            table=$2
            shift
            ;;
        -*)
            sed -n '2,7p' "$0"
            exit 2
            ;;
        *) targets+=("$1") ;;
    esac
    shift
done
[ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")

scripts/setup.sh platforms
work=build/platforms
mkdir -p "$work"

configure() {
    local target=$1
    local options=(-S . -B "$work/$target" -DVESK_WERROR=ON -DVESK_BUILD_EXAMPLES=OFF
        -DVESK_INSTALL=OFF -DVESK_BUILD_TESTS=ON)
    case "$target" in clang-*) options+=(-DCMAKE_CXX_COMPILER=clang++-14) ;; esac
    case "$target" in
        gcc-O0 | clang-O0) options+=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O0) ;;
        gcc-O2 | clang-O2)
            options+=(-DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG")
            ;;
        gcc-O3-native | clang-O3-native)
            options+=(-DCMAKE_BUILD_TYPE=Release
                "-DCMAKE_CXX_FLAGS_RELEASE=-O3 -march=native -DNDEBUG")
            ;;
        i686 | aarch64 | s390x | windows)
            local toolchain=cmake/toolchains/$target.cmake
            scripts/platform_libraries.sh "$toolchain" "$work/sysroot-$target"
            options+=(--toolchain "$toolchain" -DCMAKE_BUILD_TYPE=Release
                "-DVESK_SYSROOT=$PWD/$work/sysroot-$target")
            ;;
        *)
            echo "platforms: no target $target" >&2
            exit 2
            ;;
    esac
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    cmake "${options[@]}" >"$work/$target.log" 2>&1
}

run() {
    local target=$1
    local goal=()
    [ -z "$golden_only" ] || goal=(--target vesk_golden)
    configure "$target" &&
        cmake --build "$work/$target" -j "$(nproc)" "${goal[@]}" >>"$work/$target.log" 2>&1 &&
        if [ -n "$golden_only" ]; then
            ctest --test-dir "$work/$target" -R '^golden' --output-on-failure >>"$work/$target.log" 2>&1
        else
            ctest --test-dir "$work/$target" -j "$(nproc)" --output-on-failure \
                >>"$work/$target.log" 2>&1
        fi
}

failed=()
for target in "${targets[@]}"; do
    echo "== $target"
    if run "$target"; then
        grep -hE 'tests passed' "$work/$target.log" || true
    else
        failed+=("$target")
        tail -n 40 "$work/$target.log"
    fi
done

# The digests that each target's golden runs printed, from CTest's own log; the run by calls into the
# library prints the same ones.
digests_of() {
    sed -n 's/^\([a-z_]* *[0-9a-f]\{16\}\).*/\1/p' "$work/$1/Testing/Temporary/LastTest.log" \
        2>/dev/null | sort -u
}
{
    printf '| Family |'
    printf ' %s |' "${targets[@]}"
    printf '\n|---|'
    printf -- '---|%.0s' "${targets[@]}"
    printf '\n'
    while read -r family _; do
        printf '| %s |' "$family"
        for target in "${targets[@]}"; do
            printf ' %s |' "$(digests_of "$target" | awk -v f="$family" '$1 == f { print $2 }')"
        done
        printf '\n'
    done <tests/golden/digests.txt
} | tee ${table:+"$table"}

[ ${#failed[@]} -eq 0 ] || { echo "platforms: failed on ${failed[*]}"; exit 1; }
