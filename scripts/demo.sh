#!/usr/bin/env bash
# Sets up, builds and runs the main job: an FBX file becomes a mesh, a mesh file, a picture and
# textures in out/. Usage: scripts/demo.sh [FILE.fbx] [OUTPUT_FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh examples
cmake -S . -B build/demo -DCMAKE_BUILD_TYPE=Release -DVESK_BUILD_TESTS=OFF -DVESK_BUILD_EXAMPLES=ON \
    >/dev/null
cmake --build build/demo --target vesk_demo -j "$(nproc)"
build/demo/examples/vesk_demo "${1:-examples/data/workshop.fbx}" "${2:-out}"
