#!/usr/bin/env bash
# Creates the sample workflow with the operator's install tool, as an
# operator would: the description scripts/sample.wf, installed by wfinstall.
#   scripts/sample-workflow.sh PROJECTS [NAME]
# PROJECTS is the projects directory (it becomes TV_PROJECTS); NAME defaults
# to "sample". The graph:
#   start -> rename -> duplicate --(out 1)--> outdir
#                               \--(out 2)--> switch --(out 1)--> sort "passed"
#                                                     \--(out 2)--> sort "rejected"
# Its rename schemes go to PROJECTS/schemes.
# wfinstall is taken from FLOATDECK_BIN, else from the build tree's bin/. The
# other variables of the installation (TV_CUSTOMER, MARLDAT, ...) come from
# the caller's environment.
set -euo pipefail
if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  echo "usage: $0 PROJECTS [NAME]" >&2
  exit 1
fi
here="$(cd "$(dirname "$0")" && pwd)"
bin="${FLOATDECK_BIN:-$here/../build/bin}"
export TV_PROJECTS="${1%/}"
mkdir -p "$TV_PROJECTS/schemes"
cp "$here/sample-rename.trs" "$here/sample-filter.trs" "$TV_PROJECTS/schemes/"
"$bin/wfinstall" -w "${2:-sample}" "$here/sample.wf"
