#!/usr/bin/env bash
# Builds the benchmarks and runs them one after the other. What they print goes to the terminal and,
# as JSON, to build/bench/results/. Ratios are of runs in turns and hold on a busy machine too; plain
# times want a calm one, so the load is told first.
# Usage: scripts/bench.sh [--peers] [PATTERN [BENCHMARK_OPTION...]]
#   scripts/bench.sh                                      all programs
#   scripts/bench.sh octree                               those with octree in their name
#   scripts/bench.sh . --benchmark_min_time=2             all, two seconds each
#   scripts/bench.sh --peers peer                         against other libraries
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
peers=OFF
if [ "${1:-}" = --peers ]; then
    scripts/setup.sh peers
    peers=ON
    shift
fi
pattern=${1:-.}
shift || true

mapfile -t programs < <(sed -nE 's/^ *vesk_add_bench\(([a-z_]*_bench).*/\1/p' bench/CMakeLists.txt |
    grep -- "$pattern" | if [ "$peers" = ON ]; then cat; else grep -v peer; fi | LC_ALL=C sort)
if [ ${#programs[@]} -eq 0 ]; then
    echo "bench: no program matches '$pattern'" >&2
    exit 2
fi

cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DVESK_BUILD_BENCH=ON \
    -DVESK_BENCH_PEERS="$peers" -DVESK_BUILD_TESTS=OFF -DVESK_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/bench --target "${programs[@]}" -j "$(nproc)" >/dev/null

mkdir -p build/bench/results
uptime
for program in "${programs[@]}"; do
    echo "== $program"
    build/bench/bench/"$program" --benchmark_out="build/bench/results/$program.json" \
        --benchmark_out_format=json "$@"
done
