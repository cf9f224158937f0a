#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The main job on the bundled examples: builds Corvane, makes the input files the examples name
# (an SRAM object file for a catalogue device and a small hex data file), then reads, validates,
# checks and writes back every setup document in examples/ into build/examples-out/.
# The tests run it on an existing build: CORVANE_EXE names the program, CORVANE_EXAMPLES_OUT the
# output folder, and nothing is built.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_BUILD_DIR:-$root/build}"

if [ -n "${CORVANE_EXE:-}" ]; then
    corvane="$CORVANE_EXE"
else
    "$root/scripts/build.sh"
    corvane="$build/tools/corvane"
fi
out="${CORVANE_EXAMPLES_OUT:-$build/examples-out}"
rm -rf "$out"
mkdir -p "$out/data" "$out/output_files"
cd "$out" # the examples name their inputs relative to the working directory

"$corvane" --make-sof --device 7TR440PA3R1 --seed 1 design.sof
printf ':10000000000102030405060708090A0B0C0D0E0F78\n:00000001FF\n' >data/user_data.hex

# full.zeb shows every element kind, the master boot record included; flash devices with a master
# boot record are read and written but not yet checked, so it is only normalised.
status=0
for zeb in "$root"/examples/*.zeb; do
    name="$(basename "$zeb")"
    options=()
    [ "$name" = full.zeb ] && options+=(--no-check)
    echo "== $name"
    # What --save writes must satisfy the schema as an independent validator reads it.
    if "$corvane" "${options[@]}" --save "$out/$name" "$zeb" &&
        xmllint --noout --schema "$root/xsd/zeb.xsd" "$out/$name" 2>/dev/null; then
        echo "   ok: $out/$name"
    else
        status=1
    fi
done
exit $status
