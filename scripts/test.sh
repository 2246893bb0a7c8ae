#!/usr/bin/env bash
# Installs what the project needs (only what is missing), then configures,
# builds and runs every test twice: once in a plain debug build and once in
# a build with AddressSanitizer and UndefinedBehaviorSanitizer. Fails if
# either run fails.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)

for preset in dev asan; do
    echo "== ${preset}: configure, build, test"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    ctest --preset "$preset" -j "$jobs"
    if [ "$preset" = dev ]; then
        echo "== python: pip install into a virtual environment, tests against it"
        bash scripts/python-venv-check.sh "$PWD/build/dev/tools/fluxgrid/fluxgrid"
    fi
done

# With clang and its libFuzzer runtime at hand, every loader also runs over
# its committed corpus and a few seconds of fresh mutations.
fuzzer_probe='extern "C" int LLVMFuzzerTestOneInput(const char*, unsigned long) { return 0; }'
if command -v clang++ >/dev/null &&
    echo "$fuzzer_probe" | clang++ -fsanitize=fuzzer,address -x c++ - -o /dev/null 2>/dev/null; then
    echo "== fuzz: configure, build, run the loaders over their corpora"
    cmake --preset fuzz >/dev/null
    cmake --build --preset fuzz -j "$jobs"
    ctest --preset fuzz -j "$jobs"
else
    echo "== fuzz: skipped (clang with libFuzzer not found)"
fi
echo "== all tests passed, plain and sanitized"
