#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs every `corvane` line of the README's recipes section in a scratch directory and checks the
# files they write with independent readers: objcopy and srec_cat for the hex records, dd and cmp
# for the raw programming data, rsvg-convert for the layout picture, and `corvane --info`.
# Usage: check_recipes.sh CORVANE_EXE SOURCE_DIR
set -eu
exe=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
fail() { echo "FAIL: $*" >&2; exit 1; }

for sof in design factory app1 app2; do
    "$exe" --make-sof --device 7TR440PA3R1 --seed "${#sof}" --size 65536 "$sof.sof" >/dev/null
done
# Bytes that bit reversal changes, so the raw data check below sees a swap.
srec_cat -generate 0x1F00100 0x1F01000 -repeat-data 0x12 0x34 0xC5 -o user_data.hex -I
mkdir keys
printf 'design_key %s\n' "$(openssl rand -hex 32)" >keys/design.key
openssl ecparam -name secp384r1 -genkey -noout -out keys/sign.pem

# The recipe lines, as a user copies them.
sed -n '/^## Recipes/,/^## /p' "$source_dir/README.md" | sed -n '/^```sh/,/^```/p' | grep '^corvane ' >recipes
[ "$(wc -l <recipes)" -ge 7 ] || fail "recipes section has too few commands"
while read -r line; do
    # shellcheck disable=SC2086
    set -- $line
    shift
    "$exe" "$@" >out.txt 2>err.txt || fail "$line: $(cat err.txt)"
done <recipes

for file in single.jic single.map update.jic update.map single.rpd sram.hexout secure.rbf single.zeb; do
    [ -s "$file" ] || fail "$file was not written"
done
for file in single.jic update.jic withdata.jic secure.rbf; do
    "$exe" --info "$file" | grep -q '^integrity: *ok$' || fail "$file does not pass its integrity check"
done
grep -q '"ok":true' out.txt || fail "--check --json: $(cat out.txt)"
[ "$(awk '$1 == "DATA1" { print $3 }' withdata.map)" = 0x01F00100 ] || fail "user_data.hex is not at its own address"
[ "$(grep -c ' page ' update.map)" -eq 3 ] || fail "update.map does not hold three pages"

# The layout picture renders, and names every area of the memory map.
rsvg-convert update.svg -o update.png || fail "rsvg-convert cannot render update.svg"
[ "$(head -c 4 update.png | od -An -c | tr -d ' ')" = "211PNG" ] || fail "update.png is not a PNG"
for name in $(awk '!/^#/ { print $1 }' update.map); do
    grep -q ">$name " update.svg || fail "update.svg does not label $name"
done

# Hex records and the flash's raw data hold the same configuration data as a plain raw binary.
"$exe" -c -o mode=AVSTX8 design.sof plain.rbf >/dev/null
srec_cat sram.hexout -I -offset -0x100000 -o sram.bin -binary || fail "srec_cat cannot read sram.hexout"
cmp sram.bin plain.rbf || fail "sram.hexout does not hold the configuration data at 0x100000"
objcopy -I ihex -O binary sram.hexout sram.objcopy.bin
cmp sram.objcopy.bin plain.rbf || fail "objcopy reads other data from sram.hexout"
start=$(awk '$1 == "P1" { print $3 }' single.map)
dd if=single.rpd of=p1.bin bs=1 skip="$((start))" count="$(stat -c %s plain.rbf)" status=none
cmp p1.bin plain.rbf || fail "single.rpd does not hold the configuration data at $start"
# The user data lies in the flash's raw data as the hex records give it: bit swap is off.
"$exe" -c -o mode=ASX4 withdata.jic withdata.rpd >/dev/null || fail "withdata.rpd was not written"
srec_cat user_data.hex -I -offset -0x1F00100 -o user_data.bin -binary
dd if=withdata.rpd of=data1.bin bs=1 skip="$((0x1F00100))" count="$(stat -c %s user_data.bin)" status=none
cmp data1.bin user_data.bin || fail "withdata.rpd does not hold user_data.hex unchanged at 0x01F00100"
echo "recipes ok"
