#!/usr/bin/env bash
# Installs, through apt, whatever the project needs and the machine lacks.
# Sourced or run by the other scripts; does nothing when all is present.
set -euo pipefail

# The core library needs only the first line; the dialog needs Qt 6 Widgets
# (with fonts for its offscreen tests), the command-line tool CLI11,
# nlohmann-json, and librsvg and cairo for its PNG and PDF drawings, and the
# tool's tests an SVG renderer and an XML checker.
# The Python module needs pybind11 and numpy, its install check a venv with
# setuptools, its bridge MNE, scipy and matplotlib; the API reference Doxygen.
# The page of `fluxgrid view` is tested in headless Chromium through
# ChromeDriver and Selenium.
packages=(cmake make g++ pkg-config clang-format libgtest-dev libgmock-dev libbenchmark-dev
    qt6-base-dev fonts-dejavu-core
    libcli11-dev nlohmann-json3-dev librsvg2-dev libcairo2-dev librsvg2-bin libxml2-utils
    python3 python3-dev pybind11-dev python3-numpy python3-pytest python3-venv
    python3-setuptools python3-wheel python3-pip python3-mne python3-scipy python3-matplotlib
    doxygen chromium chromium-driver python3-selenium)

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
