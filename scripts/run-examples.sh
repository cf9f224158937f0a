#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The main job on the bundled examples: builds Corvane, then reads, validates and normalises every
# setup document in examples/ and writes each back to build/examples-out/.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/build.sh"
out="$build/examples-out"
mkdir -p "$out"
status=0
for zeb in "$root"/examples/*.zeb; do
    name="$(basename "$zeb")"
    echo "== $name"
    if ! "$build/tools/corvane" --save "$out/$name" "$zeb"; then
        status=1
    fi
done
exit $status
