#!/usr/bin/env bash
# Builds the program and shows files flowing through the sample workflow on a
# sandbox installation below ./sandbox, so nothing outside the project folder
# is touched: the resource manager, the queue server and worker and the watch
# demon run on free loopback ports; the sample workflow is installed and
# started; sample files dropped into its start folder arrive at its end, one
# that its rename scheme does not fit lands in its error directory. The
# services are stopped at the end, also when the demo is interrupted or fails
# (scripts/demo-stop.sh stops them should they be left running).
#
# The workflow manager shows the sample while the files pass: on the display
# when DISPLAY is set (closing its window ends the demo), otherwise on a
# private X server, where a picture of it is taken (sandbox/floatdeck.png,
# or the file named by DEMO_SCREENSHOT, which also takes it when a display
# is there: DEMO_SCREENSHOT=docs/floatdeck.png scripts/demo.sh).
#
# FLOATDECK_BIN names the programs of another installation (an unpacked
# package): they are run from there, nothing is built; DEMO_SANDBOX puts the
# sandbox elsewhere.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ -z "${FLOATDECK_BIN:-}" ]; then
  scripts/setup.sh
  scripts/build.sh build
fi
export FLOATDECK_BIN="${FLOATDECK_BIN:-$PWD/build/bin}"
bin="$FLOATDECK_BIN"

sandbox="${DEMO_SANDBOX:-$PWD/sandbox}"
# What an earlier demo left: its services, and its files.
scripts/demo-stop.sh "$sandbox/dat"
rm -rf "$sandbox"
mkdir -p "$sandbox/projects/workflow" "$sandbox/customer" "$sandbox/dat" "$sandbox/tmp"
export TV_PROJECTS="$sandbox/projects" TV_CUSTOMER="$sandbox/customer" MARLDAT="$sandbox/dat" TMP="$sandbox/tmp"
unset MARLENV MARLLIB CCJOB_ID CCJOB_EMPLOYER
# The worker finds the folders' commands here.
export PATH="$bin:$PATH"

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}
accepts() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }
# Waits up to `seconds` for a condition (a command); false when it never held.
await() {
  local seconds=$1
  shift
  for _ in $(seq $((seconds * 10))); do
    "$@" && return 0
    sleep 0.1
  done
  "$@"
}
export TV_RMSERVER_PORT=$(free_port) TV_CCSERVER_PORT=$(free_port) TV_CCWORKER_PORT=$(free_port)

manager=""
xserver=""
stop_all() {
  if [ -n "$manager" ]; then kill "$manager" 2>/dev/null; wait "$manager" 2>/dev/null || true; fi
  if [ -n "$xserver" ]; then kill "$xserver" 2>/dev/null; wait "$xserver" 2>/dev/null || true; fi
  scripts/demo-stop.sh "$MARLDAT"
}
trap stop_all EXIT
trap 'exit 130' INT TERM

start_service() {
  local program=$1 port=$2
  shift 2
  echo "== $program $* (port $port)"
  "$bin/$program" -b 127.0.0.1 "$@" >"$MARLDAT/$program.log" 2>&1 &
  await 60 accepts "$port" || { echo "$program did not come up: $MARLDAT/$program.log" >&2; exit 1; }
}
start_service RMserver "$TV_RMSERVER_PORT"
start_service CCworker "$TV_CCWORKER_PORT" -j 2
start_service CCserver "$TV_CCSERVER_PORT"
echo "== TVWatchD"
"$bin/TVWatchD" -b 127.0.0.1 >"$MARLDAT/TVWatchD.log" 2>&1 &
await 60 test -s "$TV_PROJECTS/.tvwatchd.info" || { echo "TVWatchD did not come up: $MARLDAT/TVWatchD.log" >&2; exit 1; }

# The sample workflow: start, rename, duplicate with two outs, a filter that
# passes cyan and magenta separations, the workflow's end directory and two
# sort folders. The install tells the demon, and leaves the folders stopped:
# starting them is taking away their stop marks.
echo "== wfinstall -w sample scripts/sample.wf"
scripts/sample-workflow.sh "$TV_PROJECTS" sample
find "$TV_PROJECTS" -name .TVWatchD_omit -delete
echo "== Floatdeck -i sample"
"$bin/Floatdeck" -i sample || echo "(exit status $?)"

# The manager, on the display or on a private one.
shot="${DEMO_SCREENSHOT:-}"
if [ -z "${DISPLAY:-}" ] || [ -n "$shot" ]; then
  shot="${shot:-$sandbox/floatdeck.png}"
  Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$TMP/display" 2>"$TMP/xvfb.log" &
  xserver=$!
  await 30 test -s "$TMP/display" || { echo "Xvfb did not come up: $TMP/xvfb.log" >&2; exit 1; }
  manager_display=":$(tr -d '\n' <"$TMP/display")"
else
  manager_display="$DISPLAY"
fi
echo "== Floatdeck sample (the workflow manager, on display $manager_display)"
DISPLAY=$manager_display HOME="$sandbox" "$bin/Floatdeck" sample 2>"$MARLDAT/Floatdeck.log" &
manager=$!

# The filter is stopped at first, so that the files pile up in it (its frame
# red, with the stop mark) until it is started.
filter=$(find "$TV_PROJECTS/autofolder/autoswitch" -mindepth 1 -maxdepth 1 -name 'flow_sample_*' | head -n 1)
touch "$filter/.TVWatchD_omit"

start="$TV_PROJECTS/workflow/sample"
files=()
for job in job01 job02 job03; do
  for ink in C M Y K; do files+=("${job}_07$ink.tif"); done
done
echo "== Dropping ${#files[@]} separations and notes.txt into $start"
for name in "${files[@]}" notes.txt; do
  echo "$name" >"$TMP/$name"
  mv "$TMP/$name" "$start/$name"
done

waiting() { [ "$(find "$filter" -maxdepth 1 -type f ! -name '.*' | wc -l)" -ge "${#files[@]}" ]; }
await 120 waiting || { echo "The files did not reach the filter in time; the logs are in $MARLDAT." >&2; exit 1; }
echo "== ${#files[@]} files wait in the stopped filter $filter"
sleep 5  # the manager looks at the workflow every 3 s
if [ -n "$xserver" ]; then
  xwd -root -silent -display "$manager_display" >"$TMP/screen.xwd"
  convert "xwd:$TMP/screen.xwd" -trim +repage "png:$shot"
  echo "== A picture of the manager's window: $shot"
fi
echo "== Starting the filter"
rm -f "$filter/.TVWatchD_omit"

arrived() { [ "$(find "$start/outdir" -type f | wc -l)" -ge "${#files[@]}" ] && [ -n "$(ls "$start/error")" ]; }
sorted() {
  [ "$(find "$TV_PROJECTS/autofolder/autosort" -mindepth 3 -type f ! -name '.*' | wc -l)" -ge "${#files[@]}" ]
}
if ! await 120 arrived || ! await 60 sorted; then
  echo "The files did not all arrive in time; the services' logs are in $MARLDAT." >&2
  exit 1
fi
echo "== The end folder $start/outdir"
ls "$start/outdir"
echo "== The filter's two sort folders, what it passed and the rest (sorted by suffix)"
for dir in "$TV_PROJECTS"/autofolder/autosort/flow_sample_*; do
  echo "-- $(sed -n 's/^: _DESCRIPTION_=//p' "$dir/.autosortrc"): $dir"
  (cd "$dir" && find . -mindepth 2 -type f ! -name '.*' | sort)
done
echo "== The error directory $start/error"
ls "$start/error"
for err in "$start"/error/*.err; do
  echo "-- $err"
  cat "$err"
done
if [ -z "$xserver" ]; then
  echo "== Close the manager's window to end the demo."
  wait "$manager" || true
  manager=""
fi
