#!/usr/bin/env bash
# Takes a screenshot of a demonstration dialog (the program wtdemo) on a
# private X server and saves it as a PNG cut to the dialog.
#
#   scripts/screenshot.sh [OUTPUT.png] [BUILD_DIR] [WTDEMO OPTIONS]
#
# OUTPUT defaults to docs/wtdemo.png, BUILD_DIR to build; the options go to
# wtdemo ("-d": the dialog of the dialog catalog). Set TV_DISABLE_XFT=1 to
# see the dialog in the server's core fonts.
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-docs/wtdemo.png}
build=${2:-build}
shift $(( $# < 2 ? $# : 2 ))
[ -x "$build/bin/wtdemo" ] || cmake --build "$build" --target wtdemo

work=$(mktemp -d)
server=""
demo=""
cleanup() {
  if [ -n "$demo" ]; then kill "$demo" 2>/dev/null; wait "$demo" 2>/dev/null || true; fi
  # The server removes its socket and lock file when it ends on SIGTERM.
  if [ -n "$server" ]; then kill "$server" 2>/dev/null; wait "$server" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

# The server picks a free display and writes its number when it is ready.
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -br 3>"$work/display" 2>"$work/xvfb.log" &
server=$!
for _ in $(seq 300); do
  [ -s "$work/display" ] && break
  kill -0 "$server" 2>/dev/null || { cat "$work/xvfb.log" >&2; exit 1; }
  sleep 0.1
done
display=":$(tr -d '\n' <"$work/display")"

DISPLAY=$display TMP=$work TV_NO_RUN_FILE=1 "$build/bin/wtdemo" "$@" -r "$work/ready" &
demo=$!
for _ in $(seq 300); do
  [ -e "$work/ready" ] && break
  kill -0 "$demo" 2>/dev/null || { echo "wtdemo ended early" >&2; exit 1; }
  sleep 0.1
done
[ -e "$work/ready" ] || { echo "the dialog did not appear" >&2; exit 1; }

xwd -root -silent -display "$display" >"$work/screen.xwd"
convert "xwd:$work/screen.xwd" -trim +repage "png:$out"
echo "$out"
