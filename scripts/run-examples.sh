#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The main job on the bundled examples: builds Corvane, makes the input files the examples name
# (SRAM object files for catalogue devices, hex data, a key file and a signing key made with
# openssl), then reads, validates, checks and generates every setup document in examples/ in
# build/examples-out/, checks every output file with `corvane --info` (which walks flash files
# partition by partition), and writes every document back, validated by xmllint.
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
mkdir -p "$out/data" "$out/keys" "$out/output_files" "$out/saved"
cd "$out" # the examples name their inputs relative to the working directory

# Designs of 256 KiB keep the run short; the seeds make the application images differ.
make_sof() { "$corvane" --make-sof --device "$1" --seed "$2" --size 262144 "${@:4}" "$3" >/dev/null; }
make_sof 7TR440PA3R1 1 design.sof
make_sof 7TR440PA3R1 2 factory.sof
make_sof 7TR440PA3R1 3 app1.sof
make_sof 7TR440PA3R1 4 app2.sof
make_sof 5ZV066H2 5 design_fpp.sof
make_sof 7TR440PA3R1 6 design_cvp.sof --cvp
printf ':10000000000102030405060708090A0B0C0D0E0F78\n:00000001FF\n' >data/user_data.hex
srec_cat -generate 0 0x1000 -repeat-string "calibration " -o data/calibration.hex -I
printf 'design_key %s\n' "$(openssl rand -hex 32)" >keys/design.key
openssl ecparam -name secp384r1 -genkey -noout -out keys/sign.pem

status=0
for zeb in "$root"/examples/*.zeb; do
    name="$(basename "$zeb")"
    echo "== $name"
    # full.zeb shows every element kind, the master boot record included, which the settings check
    # does not take yet: it is only read and written back.
    # Helper images and key programming files are command-line-only types, whose documents are
    # written back only with the switch.
    options=(--ini ZEB_ALWAYS_ALLOW_SAVE_FILE=ON)
    [ "$name" = full.zeb ] && options+=(--no-check)
    if ! "$corvane" "${options[@]}" --save "saved/$name" "$zeb"; then
        status=1
        continue
    fi
    # What --save writes must satisfy the schema as an independent validator reads it.
    xmllint --noout --schema "$root/xsd/zeb.xsd" "saved/$name" 2>/dev/null || status=1
done

echo "== outputs"
# The raw programming data of the single-image flash holds, at the address that its memory map
# gives partition P1, exactly the raw binary file that minimal.zeb makes from the same design.
start="$(awk '$1 == "P1" { print $3 }' output_files/single.map)"
size="$(stat -c %s output_files/design.rbf)"
dd if=output_files/single.rpd of=p1.bin bs=1 skip="$((start))" count="$size" status=none
if cmp p1.bin output_files/design.rbf; then
    echo "   ok: output_files/single.rpd holds output_files/design.rbf at $start"
else
    status=1
fi
# Every programming file passes its own integrity check; memory maps, raw programming data and
# the fuse value text beside a key programming file have none of their own.
for file in output_files/*; do
    case "$file" in *.map | *.rpd | *.fuse) continue ;; esac
    if "$corvane" --info "$file" >/dev/null; then
        echo "   ok: $file"
    else
        echo "   FAILED: $file"
        status=1
    fi
done
exit $status
