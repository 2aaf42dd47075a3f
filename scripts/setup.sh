#!/usr/bin/env bash
# Installs the Debian packages that building, testing and checking vesk needs.
# Quiet when nothing is missing. Usage: scripts/setup.sh [build|examples|test|check|platforms|peers|all]   (default: all)
set -euo pipefail

build_packages=(g++ cmake make pkg-config liblz4-dev libdeflate-dev)
example_packages=(libpng-dev)
test_packages=(libgtest-dev)
check_packages=(abigail-tools clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev
    libbenchmark-dev doxygen gdb libeigen3-dev lintian dpkg-dev)
platform_packages=(clang-14 g++-i686-linux-gnu g++-aarch64-linux-gnu g++-s390x-linux-gnu
    g++-mingw-w64-x86-64-posix qemu-user wine64 googletest dpkg-dev)

# For VESK_BENCH_PEERS, benchmarks against other libraries; nothing else needs them.
peer_packages=(libbenchmark-dev libassimp-dev libcgal-dev libembree-dev)

case "${1:-all}" in
    build) wanted=("${build_packages[@]}") ;;
    examples) wanted=("${build_packages[@]}" "${example_packages[@]}") ;;
    test) wanted=("${build_packages[@]}" "${example_packages[@]}" "${test_packages[@]}") ;;
    check | all)
        wanted=("${build_packages[@]}" "${example_packages[@]}" "${test_packages[@]}"
            "${check_packages[@]}")
        ;;
    platforms) wanted=("${build_packages[@]}" "${test_packages[@]}" "${platform_packages[@]}") ;;
    peers) wanted=("${build_packages[@]}" "${peer_packages[@]}") ;;
    *)
        echo "usage: scripts/setup.sh [build|examples|test|check|platforms|peers|all]" >&2
        exit 2
        ;;
esac

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: these packages are missing, and installing them needs root: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
if ! command -v apt-get >/dev/null; then
    echo "setup: no apt-get here; install by hand what stands for: ${missing[*]}" >&2
    exit 1
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update &&
    "${as_root[@]}" apt-get install -y --no-install-recommends --no-remove "${missing[@]}"; } \
    >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "setup: apt-get could not install ${missing[*]}" >&2
    exit 1
fi
