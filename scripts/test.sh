#!/usr/bin/env bash
# Installs what the project needs (only what is missing), then configures,
# builds and runs every test twice: once in a plain debug build and once in
# a build with AddressSanitizer and UndefinedBehaviorSanitizer. Fails if
# either run fails.
set -euo pipefail
cd "$(dirname "$0")/.."

# The core library needs only the first line; the dialog needs Qt 6 Widgets
# (with fonts for its offscreen tests), the command-line tool CLI11 and
# nlohmann-json, and the tool's tests an SVG renderer and an XML checker.
packages=(cmake make g++ pkg-config clang-format libgtest-dev libgmock-dev libbenchmark-dev
    qt6-base-dev fonts-dejavu-core
    libcli11-dev nlohmann-json3-dev librsvg2-bin libxml2-utils)
missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done
if ((${#missing[@]})); then
    echo "installing: ${missing[*]}"
    sudo_cmd=()
    if [ "$(id -u)" -ne 0 ]; then
        sudo_cmd=(sudo)
    fi
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

jobs=$(nproc 2>/dev/null || echo 2)

for preset in dev asan; do
    echo "== ${preset}: configure, build, test"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    ctest --preset "$preset" -j "$jobs"
done
echo "== all tests passed, plain and sanitized"
