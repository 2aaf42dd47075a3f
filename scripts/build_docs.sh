#!/usr/bin/env bash
# Builds the reference of the public headers into build/docs/html. A public name without a
# comment, a comment that leaves out one of several parameters, or a dead reference fails.
# Usage: scripts/build_docs.sh
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/docs
doxygen docs/Doxyfile
