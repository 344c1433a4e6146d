#!/usr/bin/env bash
# Stops the services the demo started on its sandbox installation (below
# ./sandbox, or the installation whose data directory is MARLDAT): the watch
# demon, the queue server and worker and the resource manager. They are found
# by the run files they keep in the data directory ("<host>-<program>-<pid>.pid"),
# asked to end with SIGTERM, and killed when they have not ended after 30 s.
# Nothing running is no fault.
set -euo pipefail
cd "$(dirname "$0")/.."
dat="${1:-$PWD/sandbox/dat}"
[ -d "$dat" ] || exit 0

# The ids of the services that still run: a run file whose process has gone,
# or is another program by now, is passed over.
running() {
  local file pid program
  for program in TVWatchD CCserver CCworker RMserver; do
    for file in "$dat"/*-"$program"-*.pid; do
      [ -e "$file" ] || continue
      pid="${file##*-}"
      pid="${pid%.pid}"
      [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = "$program" ] || continue
      # An ended process whose parent has not taken its status yet has gone.
      [ "$(cut -d' ' -f3 "/proc/$pid/stat" 2>/dev/null)" = Z ] || echo "$pid"
    done
  done
  return 0
}

pids=$(running)
[ -n "$pids" ] || exit 0
echo "== Stopping the demo's services: $(echo $pids)"
# shellcheck disable=SC2086
kill -TERM $pids 2>/dev/null || true
for _ in $(seq 300); do
  [ -n "$(running)" ] || exit 0
  sleep 0.1
done
left=$(running)
# shellcheck disable=SC2086
[ -z "$left" ] || kill -KILL $left 2>/dev/null || true
