#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test twice: in the normal
# build and in the sanitizer build (AddressSanitizer and UndefinedBehaviorSanitizer);
# then makes the Debian package from the normal build and checks it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

jobs=$(nproc)
# A test that hangs fails after 15 minutes instead of holding the run.
status=0

scripts/build.sh build
(cd build && ctest --output-on-failure --timeout 900 -j "$jobs") || status=1

scripts/build.sh build-asan -DFLOATDECK_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  LSAN_OPTIONS=suppressions=$PWD/../tests/lsan.supp:print_suppressions=0 ctest --output-on-failure --timeout 900 -j "$jobs") || status=1

# The Debian package, made from the normal build and checked.
scripts/package.sh --check build || status=1

exit $status
