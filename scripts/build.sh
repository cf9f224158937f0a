#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs what the build needs, then configures and builds Corvane in ./build (or $CORVANE_BUILD_DIR).
# Extra arguments go to the CMake configure step.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/bootstrap.sh"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build" -j "$(nproc)"
