#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Size and writing speed of each player file for the largest catalogue device, beside anchor tools
# run on the same bytes in the same run: xxd (hexadecimal text, the bulk of an .svf and a .jam) and lz4 -1
# (compression, the bulk of a .jbc), on content of a design at 30 % utilization. Prints
# seconds, peak memory and ratios.
# Usage: bench/bench_player.sh CORVANE_EXE [DEVICE]
set -eu
exe=$1
device=${2:-7TR440PA3R1}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$exe" --make-sof --device "$device" --utilization 30 "$work/big.sof" > /dev/null
printf 'corvane-cdf 1\ndevice %s file big.sof actions program,verify\n' "$device" > "$work/chain.cdf"
# The configuration data as the device receives it, for the anchors.
python3 - "$work/big.sof" "$work/big.rbf" <<'PY'
import sys
image = open(sys.argv[1], "rb").read()
count = int.from_bytes(image[12:16], "little")
for i in range(count):
    entry = image[32 + 24 * i:56 + 24 * i]
    if entry[:4] == b"CDAT":
        offset, length = int.from_bytes(entry[8:16], "little"), int.from_bytes(entry[16:24], "little")
        open(sys.argv[2], "wb").write(image[offset:offset + length])
PY

# seconds and peak resident kilobytes of a command
measure() {
    /usr/bin/time -f "%e %M" -o "$work/time" "$@" > /dev/null
    cat "$work/time"
}

bytes=$(stat -c %s "$work/big.rbf")
echo "device $device: $bytes bytes of configuration data"
set -- $(measure xxd -p "$work/big.rbf" "$work/anchor.hex")
hex_s=$1
set -- $(measure lz4 -1 -f -q "$work/big.rbf" "$work/anchor.lz4")
lz4_s=$1
lz4_size=$(stat -c %s "$work/anchor.lz4")
echo "anchor xxd -p: ${hex_s}s; anchor lz4 -1: ${lz4_s}s, $lz4_size bytes"
for kind in svf jam jbc; do
    set -- $(measure "$exe" --make-player "$work/chain.cdf" "$work/out.$kind")
    size=$(stat -c %s "$work/out.$kind")
    anchor=$hex_s
    [ "$kind" = jbc ] && anchor=$lz4_s
    awk -v k="$kind" -v s="$1" -v m="$2" -v z="$size" -v b="$bytes" -v a="$anchor" 'BEGIN {
        printf "%s: %d bytes (%.2f x the data), %.2fs, %.1f MiB/s, peak %d MiB, time ratio to anchor %.2f\n",
               k, z, z / b, s, b / 1048576 / (s > 0 ? s : 0.01), m / 1024, s / (a > 0 ? a : 0.01) }'
done
