#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Longer differential run of the hex record reader against srec_cat: generates FILES hex files
# (default 10000) from SEED (default: random) and reads each with both. Needs a test build
# (scripts/build.sh -DCORVANE_BUILD_TESTS=ON, or CORVANE_BUILD_DIR pointing at one).
# Usage: scripts/hex-differential.sh [FILES] [SEED]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"
test_program="$build/tests/test_formats"
if [ ! -x "$test_program" ]; then
    echo "hex-differential: $test_program not found; build the tests first" >&2
    exit 2
fi
CORVANE_HEX_FILES="${1:-10000}" CORVANE_HEX_SEED="${2:-$RANDOM$RANDOM}" \
    "$test_program" --gtest_filter=HexOracle.GeneratedFilesLoadAsSrecCatLoadsThem --gtest_brief=1
