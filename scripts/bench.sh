#!/usr/bin/env bash
# Builds an optimised tree and runs every benchmark in it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build-bench -DCMAKE_BUILD_TYPE=Release -DFLOATDECK_TESTS=OFF
for b in build-bench/bench/*_bench; do
  [ -x "$b" ] && "$b" "$@"
done
