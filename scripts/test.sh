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
done
echo "== all tests passed, plain and sanitized"
