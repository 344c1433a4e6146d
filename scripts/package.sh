#!/usr/bin/env bash
# Makes the Debian package of the suite from a build tree (configured and
# built first when it is not there yet): BUILD_DIR/package/floatdeck_*.deb.
# With --check it checks the package too (scripts/package-check.sh).
#   scripts/package.sh [--check] [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
check=""
if [ "${1:-}" = --check ]; then
  check=yes
  shift
fi
dir="${1:-build}"
# dpkg-shlibdeps finds the package's dependencies; the check needs lintian
# and systemd-analyze.
scripts/setup.sh dpkg-dev lintian systemd
if [ -f "$dir/CPackConfig.cmake" ]; then
  cmake --build "$dir"
else
  scripts/build.sh "$dir"
fi
rm -f "$dir"/package/floatdeck_*.deb
(cd "$dir" && cpack -G DEB >/dev/null)
deb=$(ls "$dir"/package/floatdeck_*.deb)
echo "== The package: $deb"
[ -z "$check" ] || scripts/package-check.sh "$deb" "$dir"
