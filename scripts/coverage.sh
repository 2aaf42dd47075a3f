#!/usr/bin/env bash
# Line and branch coverage of src/ by all tests: the sums, and for each file the lines not reached.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(nproc)"
find build/coverage -name '*.gcda' -delete
# Two tests are about the library as it ships: counters add exports and a dependency.
ctest --preset coverage -j "$(nproc)" -E '^(install\.|Public\.LibraryExports)'
python3 scripts/coverage_table.py build/coverage
