#!/usr/bin/env bash
# Line and branch coverage of src/ by all tests. The table goes to the console, pages with every
# line to build/coverage/report/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(nproc)"
find build/coverage -name '*.gcda' -delete
ctest --preset coverage -j "$(nproc)"
mkdir -p build/coverage/report
# Branches that only an exception could take are no paths of ours.
gcovr --root . --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches \
    --object-directory build/coverage --html-details build/coverage/report/index.html \
    --txt build/coverage/lines.txt --json-summary build/coverage/summary.json build/coverage/src
cat build/coverage/lines.txt
gcovr --root . --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches \
    --object-directory build/coverage --print-summary --branches build/coverage/src
