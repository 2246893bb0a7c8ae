#!/usr/bin/env bash
# Installs the Python package the way a user does on these machines, into a
# fresh virtual environment that sees the system's numpy (Debian refuses a
# system-wide pip install), offline, and runs the module's tests against
# the installed package. Optional argument: the fluxgrid tool to use in the
# tests that compare with it (they skip without one).
set -euo pipefail
cd "$(dirname "$0")/.."

python=${PYTHON:-/usr/bin/python3}
tool=${1:-}
venv=$(mktemp -d "${TMPDIR:-/tmp}/fluxgrid-venv.XXXXXX")
trap 'rm -rf "$venv"' EXIT

"$python" -m venv --system-site-packages "$venv"
"$venv/bin/pip" install --quiet --no-build-isolation --no-index .
# From outside the source tree, so that only the installed package imports.
(cd "$venv" && "$venv/bin/python" -c 'import fluxgrid, sys; print("installed", fluxgrid.__version__, "at", fluxgrid.__file__)')
FLUXGRID_TOOL="$tool" FLUXGRID_SAMPLE_DATA="$PWD/examples/data" MPLBACKEND=Agg \
    "$venv/bin/python" -m pytest -q -p no:cacheprovider tests/python
