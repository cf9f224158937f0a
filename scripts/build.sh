#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs what the build needs, then configures and builds Corvane in ./build (or $CORVANE_BUILD_DIR).
# Extra arguments go to the CMake configure step. Progress goes to standard error, so that callers
# that keep standard output for themselves still show it.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"
jobs="$(nproc)"

echo "build: checking the Debian packages the build needs" >&2
"$root/scripts/bootstrap.sh" >&2
echo "build: configuring in $build" >&2
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
echo "build: compiling with $jobs jobs (a first build takes several minutes; later ones only rebuild what changed)" >&2
cmake --build "$build" -j "$jobs" >&2
echo "build: done, the program is $build/tools/corvane" >&2
