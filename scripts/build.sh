#!/usr/bin/env bash
# Configures and builds one build tree.
#   scripts/build.sh [BUILD_DIR] [extra cmake arguments...]
# The build tree is an installation: BUILD_DIR/bin/Floatdeck, BUILD_DIR/env/<lang>/.
set -euo pipefail
cd "$(dirname "$0")/.."
dir="${1:-build}"
shift || true
cmake -S . -B "$dir" -G Ninja "$@"
cmake --build "$dir"
