#!/usr/bin/env bash
# Pictures of the demo's views for the README, taken by headless Chromium:
# runs `fluxgrid demo` into a scratch folder and screenshots the page of
# each sensor set into docs/view-SET.png.
#
#   scripts/view-screenshots.sh [TOOL]     TOOL defaults to the dev build's
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$(realpath "${1:-build/dev/tools/fluxgrid/fluxgrid}")
work=$(mktemp -d "${TMPDIR:-/tmp}/view-screenshots.XXXXXX")
trap 'rm -rf "$work"' EXIT

"$tool" demo "$work/demo" >/dev/null
for set in opm32 squid21; do
    chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
        --disable-background-networking --disable-component-update --disable-sync \
        --user-data-dir="$work/profile" --window-size=1280,760 \
        --screenshot="$PWD/docs/view-$set.png" "file://$work/demo/views/$set.html" 2>/dev/null
    echo "docs/view-$set.png"
done
