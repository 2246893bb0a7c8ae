#!/bin/sh
# Peak memory of `fluxgrid info --json` on a large head localization file,
# for two builds of the tool: the file is made by make_headloc_file (built
# with the tests, in tests/tools), and each tool's maximum resident set
# size is read from GNU time. The two outputs must be identical.
#
#   scripts/tool-memory.sh BASELINE_TOOL NEW_TOOL MAKE_HEADLOC_FILE [STEPS]
set -eu

if [ $# -lt 3 ]; then
    echo "usage: $0 BASELINE_TOOL NEW_TOOL MAKE_HEADLOC_FILE [STEPS]" >&2
    exit 2
fi
work=$(mktemp -d "${TMPDIR:-/tmp}/tool-memory.XXXXXX")
trap 'rm -rf "$work"' EXIT
file="$work/large.headloc"
if [ $# -ge 4 ]; then
    "$3" "$file" "$4"
else
    "$3" "$file"
fi

peak() {
    /usr/bin/time -v "$1" info --json "$file" 2>"$work/time.txt" >"$work/$2.json"
    sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time.txt"
}

base=$(peak "$1" baseline)
new=$(peak "$2" new)
echo "file: $(wc -c <"$file") bytes; JSON: $(wc -c <"$work/new.json") bytes"
echo "peak RSS of info --json: baseline $base kB, new $new kB"
if cmp -s "$work/baseline.json" "$work/new.json"; then
    echo "outputs identical"
else
    echo "outputs DIFFER" >&2
    exit 1
fi
