#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages that building, testing and running Corvane need.
# Idempotent: packages already present are not downloaded again.
set -euo pipefail

packages=(
    build-essential cmake pkg-config
    libxml2-dev libxml2-utils
    zlib1g-dev libssl-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    nlohmann-json3-dev
    liblz4-dev lz4
    srecord binutils openocd librsvg2-bin python3 time xxd
    libarchive-zip-perl # crc32, which the flash image tests compare with
    man-db # lints the manual page docs/corvane.1
    libcpp-httplib-dev # the web editor's HTTP server
    chromium chromium-driver python3-selenium # the web editor's browser test
    clang libclang-rt-dev # the libFuzzer targets in fuzz/
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
echo "bootstrap: installing ${missing[*]}"
$sudo apt-get update -q
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
