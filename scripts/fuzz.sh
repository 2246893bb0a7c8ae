#!/usr/bin/env bash
# A long fuzzing campaign of one loader by hand:
#   bash scripts/fuzz.sh KIND [SECONDS]
# KIND is a folder of fuzz/corpus (a file kind's word, or string); SECONDS
# defaults to 3600. Builds the fuzz preset (clang, instrumented), then runs
# the target from the committed corpus. New inputs gather in
# build/fuzz/campaign/KIND, findings in build/fuzz/findings/KIND/; the
# committed corpus is only read. Remaining arguments go to libFuzzer.
set -euo pipefail
cd "$(dirname "$0")/.."

# One target for each folder of the committed corpus: each file kind of the
# library's table, by its word, and the string form.
kinds=$(cd fuzz/corpus && echo *)
kind=${1:-}
if [ -z "$kind" ] || [[ " $kinds " != *" $kind "* ]]; then
    echo "usage: bash scripts/fuzz.sh KIND [SECONDS] [libFuzzer options...]" >&2
    echo "KIND is one of: $kinds" >&2
    exit 2
fi
seconds=${2:-3600}
shift $(($# >= 2 ? 2 : 1))

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc 2>/dev/null || echo 2)" --target "fuzz_$kind" >/dev/null

campaign=build/fuzz/campaign/$kind
findings=build/fuzz/findings/$kind
mkdir -p "$campaign" "$findings"
exec "build/fuzz/fuzz/fuzz_$kind" -rss_limit_mb=512 -malloc_limit_mb=64 -timeout=10 \
    -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$findings/" \
    "$@" "$campaign" "fuzz/corpus/$kind"
