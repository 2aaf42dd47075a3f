#!/usr/bin/env bash
# Runs the tests that use several threads under the thread sanitizer: queries of many threads on one
# mesh, and meshes of their own on separate threads.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh test
cmake --preset tsan >/dev/null
cmake --build --preset tsan -j "$(nproc)" --target threads_test
export TSAN_OPTIONS=halt_on_error=1
build/tsan/tests/faults/threads_test
