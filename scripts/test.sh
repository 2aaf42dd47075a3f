#!/usr/bin/env bash
# Sets up, builds and runs all tests. Usage: scripts/test.sh [preset]   (default: release)
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:-release}
scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
