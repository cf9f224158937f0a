#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The test command: installs what it needs, builds with warnings as errors, runs every test.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/build.sh" -DCORVANE_BUILD_TESTS=ON -DCORVANE_WERROR=ON
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
