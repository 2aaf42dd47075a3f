#!/usr/bin/env bash
# Runs fuzz targets, each for some time, one after the other; stops at the first finding. What is
# found on the way is kept in build/corpus/NAME and goes on from there the next time.
# With --keep the corpus is afterwards cut down to the few small inputs that together reach all that
# it reaches; they replace fuzz/seeds/NAME.
# With `seeds` for SECONDS only the checked-in inputs run, which CI does: clang's sanitizers see what
# those of gcc, under which the tests replay the same inputs, do not.
# Usage: scripts/fuzz.sh [NAME|all] [SECONDS|seeds] [--keep]   (default: all, 1200 each)
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${2:-1200}
case "${1:-all}" in
    all) names=(load_binary chunk_stream fbx_document fbx_import operations) ;;
    *) names=("$1") ;;
esac
largest_seed=2048 # bytes

scripts/setup.sh check
cmake --preset fuzz >/dev/null
for name in "${names[@]}"; do
    cmake --build --preset fuzz -j "$(nproc)" --target "${name}_fuzz"
    corpus=build/corpus/$name
    seeds=fuzz/seeds/$name
    mkdir -p "$corpus" "$seeds"
    options=(-max_len=4096 -len_control=10 -timeout=20 -rss_limit_mb=2000 "-artifact_prefix=build/corpus/${name}_")
    case $name in fbx_*) options+=(-dict=fuzz/fbx_document_fuzz.dict) ;; esac
    length=("-max_total_time=$seconds" "$corpus")
    [ "$seconds" != seeds ] || length=(-runs=0)
    # Inputs pass through files: keep them off the disk.
    [ -w /dev/shm ] && export TMPDIR=/dev/shm

    echo "== $name"
    log=build/corpus/$name.log
    if ! "build/fuzz/fuzz/${name}_fuzz" "${options[@]}" -print_final_stats=1 \
        "${length[@]}" "$seeds" >"$log" 2>&1; then
        tail -n 60 "$log" >&2
        echo "fuzz: $name found something: build/corpus/${name}_*" >&2
        exit 1
    fi
    grep -E 'cov:' "$log" | tail -n 1
    grep -E 'number_of_executed_units' "$log"

    if [ "${3:-}" = --keep ]; then
        find "$corpus" -type f -size "+${largest_seed}c" -delete
        rm -rf "$corpus.merged"
        mkdir "$corpus.merged"
        "build/fuzz/fuzz/${name}_fuzz" "${options[@]}" -set_cover_merge=1 -use_counters=0 \
            "$corpus.merged" "$seeds" "$corpus" >"$log" 2>&1
        rm -rf "$seeds"
        mv "$corpus.merged" "$seeds"
        echo "kept $(find "$seeds" -type f | wc -l) inputs"
    fi
done
