#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The test command: installs what it needs, builds with warnings as errors and runs every test, then
# runs the tests again in a build with AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer,
# then runs every fuzz target briefly.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"
jobs="$(nproc)"

"$root/scripts/build.sh" -DCORVANE_BUILD_TESTS=ON -DCORVANE_WERROR=ON
ctest --test-dir "$build" --output-on-failure -j "$jobs"

if [ "${CORVANE_SKIP_SANITIZERS:-0}" != "1" ]; then
    CORVANE_BUILD_DIR="$build-sanitize" "$root/scripts/build.sh" -DCMAKE_BUILD_TYPE=Debug \
        -DCORVANE_BUILD_TESTS=ON -DCORVANE_WERROR=ON -DCORVANE_SANITIZE=ON
    # The install test builds an unsanitised consumer against the library; it ran above.
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --test-dir "$build-sanitize" --output-on-failure -j "$jobs" -E install_consumer
fi

# Fuzz smoke run: every target replays its kept corpus (seeds and past failures), then fuzzes briefly.
if [ "${CORVANE_SKIP_FUZZ:-0}" != "1" ]; then
    CORVANE_FUZZ_BUILD_DIR="$build-fuzz" "$root/scripts/fuzz.sh" all "${CORVANE_FUZZ_SECONDS:-15}"
fi
