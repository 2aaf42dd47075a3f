#!/usr/bin/env bash
# Holds the public headers to what a host may expect of them:
#   - each compiles alone, with g++ and clang, as C++17 and C++20, with and without
#     VESK_NO_INLINE, without a warning of the strictest common set;
#   - vectors, matrices and quaternions compare in all of these, const or not;
#   - no macro is left behind but VESK_ ones;
#   - with VESK_NO_INLINE nothing of the kit is compiled into the host.
# Usage: scripts/check_headers.sh [compiler...]   (default: those of g++ and clang++ found here)
set -euo pipefail
cd "$(dirname "$0")/.."

compilers=("$@")
if [ ${#compilers[@]} -eq 0 ]; then
    for name in g++ clang++-14; do
        command -v "$name" >/dev/null && compilers+=("$name")
    done
fi
[ ${#compilers[@]} -gt 0 ] || { echo "check_headers: no compiler" >&2; exit 1; }

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
strict=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -Iinclude)

for header in include/vesk/*.h; do
    echo "#include \"vesk/$(basename "$header")\"" >"$scratch/alone_$(basename "$header" .h).cpp"
done

cat >"$scratch/host.cpp" <<'HOST'
#include "vesk/vesk.h"

namespace
{
template <typename T> int compares(T a, const T b)
{
    return (a == b) + (b == a) + (a == a) + (b == b) + (T() == b);
}

template <typename T> int differs(T a, const T b)
{
    return (a != b) + (b != a) + (a != a) + (b != b) + (T() != b);
}

template <typename T> T sums(T a, const T b, float s)
{
    return (a + b) * s + (b + a) * s;
}
} // namespace

int host(float s);

int host(float s)
{
    const vesk_vector2 v2(s, s);
    const vesk_vector3 v3(s, s, s);
    const vesk_vector4 v4(s, s, s, s);
    const vesk_matrix33 m3(s);
    const vesk_matrix44 m4(m3);
    const vesk_quaternion q(s, s, s, s);
    vesk_plane3 plane;
    plane.set_normal_and_point(v3, -v3);
    vesk_vector3 crossing;
    return compares(v2, -v2) + compares(v3, v3 / s) + compares(v4, v4 - v4) + compares(m3, m3 * m3) +
           compares(m4, vesk_matrix44_transpose(m4)) + compares(q, q * q) + differs(v2, v2) +
           differs(v3, v3 * m3) + differs(v4, m4 * v4) + differs(m3, vesk_matrix33_inverse(m3)) +
           differs(m4, m4) + compares(sums(v3, v3, s), vesk_vec_lerp(v3, v3, s)) +
           compares(sums(m4, m4, s), m4) + compares(sums(q, q, s), q) +
           vesk_plane3_intersect_segment(plane, v3, m4 * v3, crossing) +
           (vesk_clamp(vesk_percentage(s, s, s), vesk_fabs(s), s) > s);
}
HOST

# One compilation a line: what it is, and its command.
compile() {
    local label=$1
    shift
    "$@" 2>"$scratch/log.$BASHPID" || {
        echo "check_headers: $label" >&2
        head -n 30 "$scratch/log.$BASHPID" >&2
        return 1
    }
}

running=0
failed=0
for compiler in "${compilers[@]}"; do
    for standard in c++17 c++20; do
        for inline in "" -DVESK_NO_INLINE; do
            for source in "$scratch"/*.cpp; do
                compile "$(basename "$source" .cpp), $compiler -std=$standard $inline" \
                    "$compiler" "-std=$standard" $inline "${strict[@]}" -fsyntax-only "$source" &
                running=$((running + 1))
                if [ $running -ge 4 ]; then
                    wait -n || failed=1
                    running=$((running - 1))
                fi
            done
        done
    done
done
while [ $running -gt 0 ]; do
    wait -n || failed=1
    running=$((running - 1))
done
[ $failed -eq 0 ] || exit 1

# Macros: those that the headers leave behind, without those of what they include.
compiler=${compilers[0]}
grep -hE '^ *# *include <' include/vesk/*.h include/vesk/inline/*.inl | sort -u >"$scratch/theirs.cpp"
macros() {
    "$compiler" -std=c++17 -Iinclude -dM -E "$1" | sed -E 's/^#define ([A-Za-z0-9_]+).*/\1/' | sort -u
}
macros "$scratch/theirs.cpp" >"$scratch/theirs"
for header in "$scratch"/alone_*.cpp; do macros "$header"; done | sort -u >"$scratch/all"
if comm -13 "$scratch/theirs" "$scratch/all" | grep -v '^VESK_' >"$scratch/strange"; then
    echo "check_headers: macros without the prefix VESK_: $(tr '\n' ' ' <"$scratch/strange")" >&2
    exit 1
fi

# Calls only: the object defines nothing but the host's own function, and it asks for the kit's.
for compiler in "${compilers[@]}"; do
    "$compiler" -std=c++17 -O2 -DVESK_NO_INLINE -Iinclude -c "$scratch/host.cpp" -o "$scratch/host.o"
    if nm -C --defined-only --extern-only "$scratch/host.o" | grep -v ' host(float)$'; then
        echo "check_headers: $compiler compiles these into the host, in spite of VESK_NO_INLINE" >&2
        exit 1
    fi
    nm -C --undefined-only "$scratch/host.o" >"$scratch/calls"
    for call in 'operator/(vesk_vector3 const&, float)' 'operator*(vesk_matrix33 const&, vesk_matrix33 const&)' \
        'vesk_quaternion::operator+(vesk_quaternion const&) const' 'vesk_clamp(float, float, float)'; do
        grep -qF " $call" "$scratch/calls" ||
            { echo "check_headers: $compiler does not call $call with VESK_NO_INLINE" >&2; exit 1; }
    done
done
