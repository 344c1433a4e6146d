#!/usr/bin/env bash
# Checks the Debian package of the suite against the build tree it was made
# from:
#   1. it holds every program of the build tree's bin/ (the toolkit's demo
#      aside), every catalog and dialog catalog of env/, every icon, every
#      manual page of docs/, the services' units and the site's environment
#      file (a conffile);
#   2. systemd-analyze verify accepts the units;
#   3. lintian reports no error (its warnings are shown);
#   4. unpacked into a temporary root, the package runs the demo's flow from
#      there, its programs started through a link to its bin/, so that each
#      finds the installation through its own real path.
#   scripts/package-check.sh PACKAGE.deb BUILD_DIR
set -euo pipefail
cd "$(dirname "$0")/.."
deb=$1
build=$2
prefix=$(sed -n 's/^set(CPACK_PACKAGING_INSTALL_PREFIX "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")
[ -n "$prefix" ] || { echo "No install prefix in $build/CPackConfig.cmake" >&2; exit 1; }
status=0
fail() {
  echo "package check: $*" >&2
  status=1
}

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

echo "== The package's contents"
dpkg-deb --contents "$deb" | awk '{ sub(/^\./, "", $6); print $6 }' | sed 's:/$::' | sort >"$root/contents"
{
  # Programs and the links of the module commands; wtdemo shows the toolkit
  # and is not part of the suite.
  find "$build/bin" -mindepth 1 -maxdepth 1 ! -name wtdemo -printf "$prefix/bin/%f\n"
  (cd "$build" && find env -name '*.srf' -o -name '*.drf') | sed "s:^:$prefix/:"
  (cd "$build" && find icons -name '*.pxm') | sed "s:^:$prefix/:"
  (cd docs && ls -- *.1) | sed "s:^:$prefix/share/man/man1/:"
  for unit in floatdeck.target floatdeck-rmserver.service floatdeck-ccworker.service floatdeck-ccserver.service \
              floatdeck-tvwatchd.service; do
    echo "/lib/systemd/system/$unit"
  done
  echo /etc/default/floatdeck
  echo /usr/share/doc/floatdeck/copyright
} | sort >"$root/expected"
missing=$(comm -23 "$root/expected" "$root/contents")
[ -z "$missing" ] || fail "missing from $deb:"$'\n'"$missing"
echo "$(wc -l <"$root/expected") files expected, $(wc -l <"$root/contents") in the package"
dpkg-deb --info "$deb" conffiles | grep -qx /etc/default/floatdeck || fail "/etc/default/floatdeck is no conffile"

dpkg-deb -x "$deb" "$root/fs"

echo "== systemd-analyze verify"
# The units as they would lie in the system, their programs taken from the
# unpacked package.
mkdir -p "$root/units"
for unit in "$root"/fs/lib/systemd/system/*; do
  sed "s:$prefix/:$root/fs$prefix/:g" "$unit" >"$root/units/${unit##*/}"
done
SYSTEMD_LOG_LEVEL=warning systemd-analyze verify --man=no "$root"/units/* 2>&1 | tee "$root/verify"
[ ! -s "$root/verify" ] || fail "systemd-analyze verify has objections"

echo "== lintian"
lintian --fail-on error --tag-display-limit 0 "$deb" || fail "lintian reports errors"

echo "== The demo's flow, from the unpacked package"
ln -s "$root/fs$prefix/bin" "$root/bin"
env -u DISPLAY FLOATDECK_BIN="$root/bin" DEMO_SANDBOX="$root/sandbox" scripts/demo.sh >"$root/demo.log" 2>&1 ||
  { cat "$root/demo.log"; fail "the demo's flow failed from the package"; }
grep -q '^== The end folder' "$root/demo.log" && tail -n 12 "$root/demo.log"

[ $status -eq 0 ] && echo "== The package passed its checks: $deb"
exit $status
