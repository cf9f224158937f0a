#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Bitstream security figures beside the anchor tools, on the same bytes and in the same run:
#   bench/bench_security.sh BUILD_DIR
# BUILD_DIR is a Release build with -DCORVANE_BUILD_BENCHMARKS=ON (target bench_security).
set -eu
build=${1:?usage: bench_security.sh BUILD_DIR}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
openssl ecparam -name secp384r1 -genkey -noout -out "$work/key.pem" 2>/dev/null
CORVANE_DATA_DIR=${CORVANE_DATA_DIR:-$(dirname "$0")/..} "$build/bench/bench_security" "$work" "$work" > "$work/ours"
value() { awk -v k="$1" '$1 == k { print $2 }' "$work/ours"; }
bytes=$(value bytes)

# Wall time in seconds of a command, best of three.
best() {
    best=""
    for run in 1 2 3; do
        start=$(date +%s.%N); "$@" > /dev/null 2>&1; end=$(date +%s.%N)
        best=$(echo "$start $end $best" | awk '{ t = $2 - $1; if ($3 == "" || t < $3) print t; else print $3 }')
    done
    echo "$best"
}
lz4_s=$(best lz4 -1 -f -q "$work/payload.bin" "$work/fast.lz4")
lz4hc_s=$(best lz4 -12 -f -q "$work/payload.bin" "$work/hc.lz4")
lz4_ratio=$(awk -v a="$bytes" -v b="$(stat -c %s "$work/fast.lz4")" 'BEGIN { printf "%.3f", a / b }')
lz4hc_ratio=$(awk -v a="$bytes" -v b="$(stat -c %s "$work/hc.lz4")" 'BEGIN { printf "%.3f", a / b }')
lz4_mb=$(awk -v a="$bytes" -v t="$lz4_s" 'BEGIN { printf "%.1f", a / t / 1e6 }')
lz4hc_mb=$(awk -v a="$bytes" -v t="$lz4hc_s" 'BEGIN { printf "%.1f", a / t / 1e6 }')
# openssl speed prints thousands of bytes per second for the block size asked; -elapsed divides by
# wall time, as our figures do (by default it divides by CPU time, which hides a loaded machine).
gcm_k=$(openssl speed -elapsed -evp aes-256-gcm -seconds 2 -bytes 16384 2>/dev/null | awk 'tolower($1) == "aes-256-gcm" { v = $NF } END { sub("k", "", v); print v }')
gcm_mb=$(awk -v k="$gcm_k" 'BEGIN { printf "%.1f", k / 1000 }')

echo "device $(value device), $bytes bytes of configuration data (utilization 30)"
printf '%-28s %12s %12s %8s\n' "figure" "corvane" "anchor" "ratio"
row() { printf '%-28s %12s %12s %8s\n' "$1" "$2" "$3" "$(awk -v a="$2" -v b="$3" 'BEGIN { printf "%.2f", a / b }')"; }
row "LZ4 MB/s (lz4 -1)" "$(value lz4_mb_s)" "$lz4_mb"
row "LZ4 ratio (lz4 -1)" "$(value lz4_ratio)" "$lz4_ratio"
row "LZ4 HC MB/s (lz4 -12)" "$(value lz4hc_mb_s)" "$lz4hc_mb"
row "LZ4 HC ratio (lz4 -12)" "$(value lz4hc_ratio)" "$lz4hc_ratio"
row "AES-256-GCM MB/s, 16 KiB" "$(value gcm_16k_mb_s)" "$gcm_mb"
row "AES-256-GCM MB/s, image" "$(value gcm_mb_s)" "$gcm_mb"
row "signing ms over plain" "$(value sign_extra_ms)" "$(value sign_sha384_ms)"
echo "signing: $(value sign_ms) ms in all, of which the plain encoding $(value sign_plain_encode_ms) ms;" \
     "the anchor of the last row is the SHA-384 of the signed bytes alone"
