#!/usr/bin/env bash
# Makes every picture of docs/ anew from the build tree (default build):
# the toolkit's sample dialog, the catalog dialog, one page per class of
# widgets (the menu page with its first menu open, through a replayed
# command), the gallery of all icons and the start folder's dialog. Each is
# taken on a private Xvfb by scripts/screenshot.sh.
#
#   scripts/doc-pictures.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
shot=scripts/screenshot.sh
"$shot" docs/wtdemo.png "$build"
"$shot" docs/wtdemo-dialog.png "$build" -d
for page in scrollbars lists pages lamps; do
  "$shot" "docs/wtdemo-$page.png" "$build" -p "$page"
done
replay=$(mktemp)
trap 'rm -f "$replay"' EXIT
echo "COMMAND WtDemo_Menus 11 OPEN" >"$replay"
TV_GUIREPLAY=$replay "$shot" docs/wtdemo-menus.png "$build" -p menus
"$shot" docs/icons.png "$build" -g
"$shot" docs/start-folder.png "$build" -f
