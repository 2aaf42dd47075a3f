#!/usr/bin/env bash
# Loads real FBX files with known results: check_fbx_samples.sh [FOLDER] [BUILD]. The folder holds
# `facts.tsv`; without it there is nothing to check, which is said and is no failure.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=${1:-${VESK_FBX_SAMPLES:-../shared/fbx/samples}}
build=${2:-build/release}
if [ ! -f "$folder/facts.tsv" ]; then
    echo "check_fbx_samples: no samples in $folder, skipped"
    exit 0
fi
VESK_FBX_SAMPLES=$(cd "$folder" && pwd) "$build/tests/files/files_test" --gtest_filter='FbxSamples.*'
