#!/usr/bin/env bash
# Gathers seed inputs for the fuzz targets and merges them, minimised, into
# fuzz/corpus/<kind>/: every input the ordinary test suite loads to the end
# (golden records of every version, made by the tests' own byte builders)
# and every file under examples/data. Run by hand after adding tests or
# sample files; needs the dev and fuzz builds (cmake --preset dev && cmake
# --build --preset dev; cmake --preset fuzz && cmake --build --preset fuzz).
set -euo pipefail
cd "$(dirname "$0")/.."

gathered=$(mktemp -d)
trap 'rm -rf "$gathered"' EXIT
mkdir -p "$gathered/all"

for program in build/dev/tests/fluxgrid_*_tests; do
    area=${program##*/fluxgrid_}
    area=${area%_tests}
    (cd "tests/$area" && FLUXGRID_TEST_INPUT_DUMP="$gathered/all" "$OLDPWD/$program" >/dev/null)
done
if [ -d examples/data ]; then
    find examples/data -type f -exec cp {} "$gathered/all/" \;
fi

# A file's kind is the one its first bytes tell, as the tool reads them
# (a file that fails to load still names its kind where its magic does).
tool=build/dev/tools/fluxgrid/fluxgrid
for file in "$gathered"/all/*; do
    kind=$("$tool" info --json "$file" 2>/dev/null |
        /usr/bin/python3 -c 'import json, sys; print(json.load(sys.stdin)[0].get("kind", ""))')
    if [ -n "$kind" ]; then
        mkdir -p "$gathered/$kind"
        cp "$file" "$gathered/$kind/"
    fi
done
# Every file begins with a string form, so all of them seed the string target.
mkdir -p "$gathered/string"
cp "$gathered"/all/* "$gathered/string/"

for kind in $(cd "$gathered" && ls | grep -vx all); do
    mkdir -p "fuzz/corpus/$kind"
    echo "== $kind: $(ls "$gathered/$kind" | wc -l) gathered"
    build/fuzz/fuzz/fuzz_$kind -merge=1 -rss_limit_mb=512 -malloc_limit_mb=64 \
        "fuzz/corpus/$kind" "$gathered/$kind" 2>&1 | grep -E "MERGE-OUTER: [0-9]+ new files" || true
    echo "   corpus now $(ls "fuzz/corpus/$kind" | wc -l) files"
done
