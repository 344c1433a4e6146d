#!/usr/bin/env bash
# Builds the program and runs it on a sandbox installation below ./sandbox,
# so nothing outside the project folder is touched.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build

sandbox="$PWD/sandbox"
mkdir -p "$sandbox/projects/workflow" "$sandbox/customer" "$sandbox/dat"
export TV_PROJECTS="$sandbox/projects" TV_CUSTOMER="$sandbox/customer" MARLDAT="$sandbox/dat"
unset MARLENV MARLLIB

# The sample workflow: start, rename, duplicate with two outs, filter, outdir,
# created and installed with the operator's tool.
echo "== wfinstall -w sample scripts/sample.wf"
scripts/sample-workflow.sh "$TV_PROJECTS" sample

echo "== Sandbox installation: $sandbox"
echo "== Floatdeck -?"
build/bin/Floatdeck -? || true
echo "== Floatdeck -i sample"
build/bin/Floatdeck -i sample || echo "(exit status $?)"
echo "== The demon's configuration: $TV_CUSTOMER/tvwatchd.cfg"
cat "$TV_CUSTOMER/tvwatchd.cfg"
