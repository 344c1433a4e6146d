#!/usr/bin/env bash
# Lays out a sample workflow on disk, as an install leaves it: the start
# folder with its rc file, three hot folders, and the workflow's own end and
# error directories.
#   scripts/sample-workflow.sh PROJECTS [NAME]
# PROJECTS is the projects directory (the first element of TV_PROJECTS); NAME
# defaults to "sample". The graph:
#   start -> rename -> duplicate --(out 1)--> outdir
#                               \--(out 2)--> filter -> outdir
# Existing folders of the same names are replaced.
set -euo pipefail
if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  echo "usage: $0 PROJECTS [NAME]" >&2
  exit 1
fi
projects="${1%/}"
name="${2:-sample}"

start="$projects/workflow/$name"
outdir="$start/outdir"
errordir="$start/error"
rename="$projects/autofolder/autorename/flow_${name}_0"
duplicate="$projects/autofolder/autoduplicate/flow_${name}_0"
filter="$projects/autofolder/autofilter/flow_${name}_0"

# folder DIR: a fresh hot folder directory, open to every user.
folder() {
  rm -rf "$1"
  mkdir -p "$1"
  chmod 777 "$1"
}

# rcfile FILE OPTION...: an rc file of option lines ": KEY=VALUE".
rcfile() {
  local file="$1"
  shift
  : >"$file"
  for option in "$@"; do
    printf ': %s\n' "$option" >>"$file"
  done
  chmod 666 "$file"
}

for dir in "$start" "$rename" "$duplicate" "$filter"; do folder "$dir"; done
mkdir -p "$outdir" "$errordir"
chmod 777 "$outdir" "$errordir"

rcfile "$start/.autostartrc" "STARTDIR=$start" "_OUTDIR_=$rename" "_ERRORDIR_=$errordir" \
  "MODE=0" "FILEMODE=2"
rcfile "$rename/.autorenmrc" "_OUTDIR_=$duplicate" "_ERRORDIR_=$errordir"
rcfile "$duplicate/.autoduplrc" "_OUTDIR_=$outdir" "_OUTDIR2_=$filter" "_ERRORDIR_=$errordir"
rcfile "$filter/.autofilterrc" "_OUTDIR_=$outdir" "_ERRORDIR_=$errordir"
