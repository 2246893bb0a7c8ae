#!/usr/bin/env bash
# Sets a fresh machine up and shows the library at work: installs what is
# missing, builds the library and the fluxgrid tool in Release, runs
# `fluxgrid demo` and says where its outputs are.
#
#   bash scripts/run.sh [DIR]     outputs go to DIR, by default build/run/fluxgrid-demo
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
echo "== configure and build (Release)"
cmake --preset run >/dev/null
cmake --build --preset run -j "$jobs"

tool="$PWD/build/run/tools/fluxgrid/fluxgrid"
out="${1:-$PWD/build/run/fluxgrid-demo}"
echo "== fluxgrid demo $out"
# The demo writes MNE's measurement info through the Python module that the
# build has just put together.
PYTHONPATH="$PWD/build/run/python${PYTHONPATH:+:$PYTHONPATH}" "$tool" demo "$out"

echo
echo "== done"
echo "the tool:        $tool   (try: $tool --help)"
echo "the outputs:     $out"
echo "sample files:    $PWD/examples/data   (try: $tool info examples/data/*.sensor)"
