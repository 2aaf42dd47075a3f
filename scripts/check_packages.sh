#!/usr/bin/env bash
# Builds the Debian packages, has lintian look at them where it is installed, unpacks them into a
# scratch root and builds the tiny host against what lies there. Installs nothing on the machine.
# Usage: scripts/check_packages.sh [OUTPUT_FOLDER]   (default: build/packages)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
output=${1:-$root/build/packages}
build=$output/build
mkdir -p "$output"
output=$(cd "$output" && pwd)
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)

# Paths and flags as Debian builds libraries.
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR="lib/$multiarch" -DVESK_BUILD_TESTS=OFF -DVESK_BUILD_EXAMPLES=OFF \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS) -ffile-prefix-map=$root=." \
    -DCMAKE_SHARED_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS) -Wl,-z,now" >/dev/null
cmake --build "$build" --target vesk vesk_debug -j "$(nproc)" >/dev/null

# The symbols file: each export with the version that a host which uses it needs.
soversion=$(sed -nE 's/^set\(VESK_SOVERSION ([0-9]+)\)/\1/p' "$root/CMakeLists.txt")
version=$(sed -nE 's/^ *VERSION ([0-9.]+)$/\1/p' "$root/CMakeLists.txt" | head -n 1)
{
    echo "libvesk.so.$soversion libvesk$soversion #MINVER#"
    nm -D --defined-only "$build/src/libvesk.so" | sed -E "s/^.* ([^ ]+)$/ \1@Base $version/" |
        LC_ALL=C sort -u
} >"$build/packaging/symbols"
(cd "$build" && cpack -G DEB -B "$output" >/dev/null)
rm -rf "$output/_CPack_Packages"
packages=("$output"/libvesk*.deb)
for package in "${packages[@]}"; do
    dpkg-deb --field "$package" Package Version Architecture Depends
done

if command -v lintian >/dev/null; then
    echo "lintian"
    # Each tag that is left out has its reason in docs/install.md.
    lintian --allow-root --fail-on error,warning \
        --suppress-tags bogus-mail-host-in-debian-changelog,maintscript-calls-ldconfig \
        "${packages[@]}"
else
    echo "lintian is not installed: skipped"
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for package in "${packages[@]}"; do
    dpkg -x "$package" "$scratch/root"
done
libdir=$scratch/root/usr/lib/$multiarch

echo "find_package"
cmake -S "$root/tests/consumer/find_package" -B "$scratch/a" \
    -DCMAKE_PREFIX_PATH="$scratch/root/usr" >/dev/null
cmake --build "$scratch/a" >/dev/null
"$scratch/a/host"

echo "pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs vesk)"
"${CXX:-c++}" -std=c++17 "$root/tests/consumer/host.cpp" -o "$scratch/b" "${flags[@]}"
LD_LIBRARY_PATH=$libdir "$scratch/b"
