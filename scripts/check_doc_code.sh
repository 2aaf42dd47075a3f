#!/usr/bin/env bash
# Compiles every C++ block of README.md, CONTRIBUTING.md, SECURITY.md and docs/, syntax only, with all
# warnings as errors. A block stands alone but for the public headers and what
# docs/code_prelude.h declares. One that is not made of declarations, but of statements as they would
# stand inside a function, follows the line `<!-- statements -->`; its names are its own.
# Usage: scripts/check_doc_code.sh   (CXX: the compiler)
set -euo pipefail
cd "$(dirname "$0")/.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mapfile -t pages < <(find README.md CONTRIBUTING.md SECURITY.md docs -name '*.md' | LC_ALL=C sort)
awk -v folder="$scratch" '
    FNR == 1 { statements = 0; inside = 0 }
    /^<!-- statements -->$/ { statements = 1; next }
    /^```cpp$/ {
        inside = 1
        file = sprintf("%s/block_%03d.cpp", folder, ++count)
        print "#include \"docs/code_prelude.h\"" > file
        if (statements) print "int block()\n{" > file
        printf "#line %d \"%s\"\n", FNR + 1, FILENAME > file
        next
    }
    /^```$/ && inside {
        if (statements) print "return 0;\n}" > file
        close(file)
        inside = statements = 0
        next
    }
    inside { print > file }
' "${pages[@]}"

failed=0
for block in "$scratch"/block_*.cpp; do
    "${CXX:-c++}" -std=c++17 -fsyntax-only -Wall -Wextra -Werror -Wno-unused -I. -Iinclude "$block" ||
        failed=1
done
[ "$failed" -eq 0 ] || exit 1
echo "check_doc_code: $(find "$scratch" -name 'block_*.cpp' | wc -l) blocks of ${#pages[@]} pages compile"
