#!/bin/sh
# Runs two builds of the fluxgrid tool over the same work and compares all
# they print and write, byte for byte: info and info --json on every sample
# file (all together and one by one), migrate of the sample sensor files
# into a folder and in place, every layout table listed, shown, exported in
# each format and plotted, a few failures, and the demo. Standard output,
# standard error and the exit status of every run are kept, with every file
# the run wrote, under one folder per tool; the two folders are then diffed.
#
#   scripts/tool-output-diff.sh BASELINE_TOOL NEW_TOOL [WORK_DIR]
#
# Exits 0 when the outputs are identical, 1 when they differ.
set -eu

if [ $# -lt 2 ]; then
    echo "usage: $0 BASELINE_TOOL NEW_TOOL [WORK_DIR]" >&2
    exit 2
fi
here=$(cd "$(dirname "$0")/.." && pwd)
data="$here/examples/data"
baseline=$(realpath "$1")
candidate=$(realpath "$2")
work=${3:-$(mktemp -d "${TMPDIR:-/tmp}/tool-output-diff.XXXXXX")}
mkdir -p "$work"
work=$(realpath "$work")

cases=0

# run TOOL DIR NAME ARGS...: runs the tool in DIR, keeping NAME.out,
# NAME.err and NAME.status there.
run() {
    tool=$1 dir=$2 name=$3
    shift 3
    status=0
    (cd "$dir" && "$tool" "$@" >"$name.out" 2>"$name.err") || status=$?
    echo "$status" >"$dir/$name.status"
}

# all NAME ARGS...: the same run with both tools.
all() {
    cases=$((cases + 1))
    run "$baseline" "$work/baseline" "$@"
    run "$candidate" "$work/new" "$@"
}

rm -rf "$work/baseline" "$work/new"
mkdir -p "$work/baseline" "$work/new"

samples=$(cd "$data" && ls)
sensors=$(cd "$data" && ls ./*.sensor | sed 's|^\./||')

# info, all together and one by one
set --
for f in $samples; do set -- "$@" "$data/$f"; done
all info-all info "$@"
all info-json-all info --json "$@"
for f in $samples; do
    all "info-$f" info "$data/$f"
    all "info-json-$f" info --json "$data/$f"
done
all info-missing info "$data/no-such-file.sensor"
all info-json-missing info --json "$data/no-such-file.sensor" "$data/coil-20211230.coil"

# migrate into a folder, and in place over copies
set --
for f in $sensors; do set -- "$@" "$data/$f"; done
all migrate-out-dir migrate --out-dir migrated "$@"
for side in baseline new; do
    mkdir -p "$work/$side/in-place"
    for f in $sensors; do cp "$data/$f" "$work/$side/in-place/$f"; done
done
set --
for f in $sensors; do set -- "$@" "in-place/$f"; done
all migrate-in-place migrate --in-place "$@"

# layout tables
all layout-list layout list
tables=$(tail -n +2 "$work/baseline/layout-list.out" | awk '{print $1}')
mkdir -p "$work/baseline/exports" "$work/new/exports"
for t in $tables; do
    all "show-$t" layout show "$t"
    for format in csv sfp elc; do
        all "export-$t-$format" layout export "$t" --format "$format"
        all "export-file-$t-$format" layout export "$t" --format "$format" -o "exports/$t.$format"
    done
    all "plot-$t" layout plot "$t" -o "exports/$t.svg"
done
all show-unknown layout show megLayout99

# demo
all demo demo demo-out

echo "$cases runs of each tool; outputs in $work/baseline and $work/new"
files=$(cd "$work/baseline" && find . -type f | wc -l)
if diff -r "$work/baseline" "$work/new" >"$work/diff.txt"; then
    echo "identical: $files files (stdout, stderr, exit status and written files) byte for byte"
    exit 0
fi
echo "DIFFERENT: see $work/diff.txt" >&2
head -n 40 "$work/diff.txt" >&2
exit 1
