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

# A file's kind is told by its magic, the wide string form at its start.
wide_hex() {
    local text=$1
    printf 'fffeff%02x' "${#text}"
    printf '%s' "$text" | iconv -t UTF-16LE | od -An -tx1 | tr -d ' \n'
}
declare -A magic_of=(
    [coil]=MEGCOILQV [vapor]=AMOPMQV [squid]=MSQUIDQV [opm]=MEGOPMQV
    [sensor]=MEGSENSORQV [headloc]=HEADLOCATIONTRIAL)

for kind in "${!magic_of[@]}"; do
    mkdir -p "$gathered/$kind"
    prefix=$(wide_hex "${magic_of[$kind]}")
    for file in "$gathered"/all/*; do
        head=$(head -c $((${#prefix} / 2)) "$file" | od -An -tx1 | tr -d ' \n')
        if [ "$head" = "$prefix" ]; then
            cp "$file" "$gathered/$kind/"
        fi
    done
done
# Every file begins with a string form, so all of them seed the string target.
mkdir -p "$gathered/string"
cp "$gathered"/all/* "$gathered/string/"

for kind in coil vapor squid opm sensor headloc string; do
    mkdir -p "fuzz/corpus/$kind"
    echo "== $kind: $(ls "$gathered/$kind" | wc -l) gathered"
    build/fuzz/fuzz/fuzz_$kind -merge=1 -rss_limit_mb=512 -malloc_limit_mb=64 \
        "fuzz/corpus/$kind" "$gathered/$kind" 2>&1 | grep -E "MERGE-OUTER: [0-9]+ new files" || true
    echo "   corpus now $(ls "fuzz/corpus/$kind" | wc -l) files"
done
