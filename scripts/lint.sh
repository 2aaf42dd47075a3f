#!/usr/bin/env bash
# Formatting by clang-format, and clang-tidy over every source with the checks in .clang-tidy: library
# and examples with all of them; tests and fuzz targets without the analyzer, which takes most of the
# time and knows least about macros of assertions, and without what is about speed or takes whole
# numbers that are meant for slips. Usage: scripts/lint.sh [FILE...]
set -euo pipefail
export LC_ALL=C
cd "$(dirname "$0")/.."

scripts/setup.sh check
if [ $# -eq 0 ]; then
    git ls-files '*.h' '*.cpp' '*.inl' | xargs clang-format-14 --dry-run -Werror
    mapfile -t files < <(git ls-files 'src/*.cpp' 'examples/*.cpp' 'tests/*.cpp' \
        'fuzz/*.cpp')
else
    clang-format-14 --dry-run -Werror "$@"
    files=("$@")
fi

# Only the commands are wanted of this build tree.
cmake -S . -B build/lint -DCMAKE_BUILD_TYPE=Release -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
    -DVESK_BUILD_TESTS=ON -DVESK_BUILD_EXAMPLES=ON >/dev/null

# What the database doesn't name belongs to a build of its own: hosts of the installed library.
known() {
    grep -o '"file": "[^"]*"' build/lint/compile_commands.json | cut -d'"' -f4 | sort -u
}
tidy() {
    local checks=$1 pattern=$2
    printf '%s\n' "${files[@]}" | { grep -E "$pattern" || true; } | sed "s|^|$PWD/|" | sort |
        comm -12 - <(known) |
        xargs -r -n 2 -P "$(nproc)" clang-tidy-14 -p build/lint --quiet --checks="$checks" 2>/dev/null
}
status=0
tidy '' '^(src|examples)/' || status=1
tidy '-clang-analyzer-*,-performance-*,-bugprone-integer-division,-bugprone-misplaced-widening-cast' \
    '^(tests|fuzz)/' || status=1
exit $status
