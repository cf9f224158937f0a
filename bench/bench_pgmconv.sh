#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The engine beside the general tools on the same bytes, in one run: medians of RUNS runs, ratios,
# and peak memory. Fails when an output differs from the anchor's or a target is missed.
#   bench/bench_pgmconv.sh BUILD_DIR [RUNS]
# BUILD_DIR is a Release build configured with -DCORVANE_BUILD_BENCHMARKS=ON.
set -euo pipefail

build=$(cd "${1:?usage: bench_pgmconv.sh BUILD_DIR [RUNS]}" && pwd)
source_dir=$(cd "$(dirname "$0")/.." && pwd)
runs=${2:-5}
corvane="$build/tools/corvane"
run="$build/bench/pgmconv_run"
device=7TR440PA3R1 # the largest catalogue device
flash=VQ1024A      # 128 MiB
raw_size=$((48 << 20))
raw_address=0x04000000
export CORVANE_DATA_DIR=${CORVANE_DATA_DIR:-$source_dir}
work=$(mktemp -d "${TMPDIR:-/tmp}/corvane-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
cd "$work"

# Median wall seconds, median CPU seconds (user + system) and the largest peak resident
# kilobytes of the runs of a command. The machine is shared, so CPU time is the steadier figure.
measure() {
    local walls=() cpus=() peak=0
    for _ in $(seq "$runs"); do
        rusage "$@" >time.txt
        read -r wall user system kb <time.txt
        walls+=("$wall")
        cpus+=("$(awk -v u="$user" -v s="$system" 'BEGIN { print u + s }')")
        ((kb > peak)) && peak=$kb
    done
    echo "$(median "${walls[@]}") $(median "${cpus[@]}") $peak"
}
# Wall seconds, user and system CPU seconds (to the microsecond: these runs take tens of
# milliseconds, below the resolution of time(1)) and peak resident kilobytes of one command.
rusage() {
    python3 - "$@" <<'PY'
import os, sys, time
start = time.monotonic()
pid = os.fork()
if pid == 0:
    fd = os.open(os.devnull, os.O_WRONLY)
    os.dup2(fd, 1)
    os.execvp(sys.argv[1], sys.argv[1:])
_, status, usage = os.wait4(pid, 0)
wall = time.monotonic() - start
if os.waitstatus_to_exitcode(status) != 0:
    sys.exit(f"{sys.argv[1]} failed")
print(f"{wall:.4f} {usage.ru_utime:.4f} {usage.ru_stime:.4f} {usage.ru_maxrss}")
PY
}
median() { printf '%s\n' "$@" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (a > 0 ? b / a : 0) }'; }

"$corvane" --make-sof --device "$device" --seed 1 f1.sof >/dev/null
"$corvane" --make-sof --device "$device" --seed 2 f2.sof >/dev/null
# Deterministic incompressible bytes; the generator stops when head has enough.
head -c "$raw_size" < <(openssl enc -aes-128-ctr -K 00112233445566778899aabbccddeeff -iv 0 -nosalt </dev/zero 2>/dev/null) >raw.bin

echo "== .rpd of $flash: two SRAM object files of $device and a 48 MiB raw data file"
layout=("$flash" f1.sof f2.sof --raw "raw.bin@$raw_address")
# objcopy builds the image only; the engine is timed doing the same, and again with the .map, whose
# SHA-256 of every source file (provenance) objcopy has no counterpart for.
read -r map_wall map_s map_kb < <(measure "$run" rpd ours.rpd "${layout[@]}")
read -r ours_wall ours_s ours_kb < <(measure "$run" rpd ours.rpd "${layout[@]}" --no-map)
((map_kb > ours_kb)) && ours_kb=$map_kb
# The anchor builds the same image from the same bytes at the addresses of the .map.
args=()
first=""
while read -r name kind start end size rest; do
    [[ $name == \#* || $size == 0 ]] && continue
    dd if=ours.rpd of="$name.bin" bs=1M iflag=skip_bytes,count_bytes skip=$((start)) count="$size" status=none
    if [[ -z $first ]]; then
        [[ $((start)) == 0 ]] || { echo "first content does not start at 0" >&2; exit 1; }
        first="$name.bin"
    else
        args+=(--add-section ".$name=$name.bin" --set-section-flags ".$name=alloc,load,contents"
            --change-section-address ".$name=$start")
    fi
done <ours.map
end=$(stat -c %s ours.rpd)
read -r anchor_wall anchor_s anchor_kb < <(measure objcopy -I binary -O binary --gap-fill 0xFF --pad-to "$end" "${args[@]}" \
    "$first" anchor.rpd)
cmp ours.rpd anchor.rpd || { echo "the .rpd differs from objcopy's image" >&2; exit 1; }
largest=$(stat -c %s raw.bin f1.sof | sort -n | tail -1)
limit_kb=$(((largest >> 10) + 65536))
echo "CPU: engine ${ours_s}s, objcopy ${anchor_s}s, objcopy/engine $(ratio "$ours_s" "$anchor_s") (target >= 1)"
echo "CPU with the .map: engine ${map_s}s, objcopy/engine $(ratio "$map_s" "$anchor_s")"
echo "wall: engine ${ours_wall}s, ${map_wall}s with the .map (both include fsync before the rename)," \
    "objcopy ${anchor_wall}s"
echo "engine peak ${ours_kb} KiB, limit (largest input + 64 MiB) ${limit_kb} KiB"
rpd_ok=$(awk -v a="$ours_s" -v b="$anchor_s" 'BEGIN { print (a <= b ? 1 : 0) }')

echo "== .hexout of the largest .rbf"
"$run" rbf f1.rbf f1.sof
read -r hex_wall hex_s _ < <(measure "$run" hexout ours.hexout f1.rbf)
read -r objcopy_wall objcopy_s _ < <(measure objcopy -I binary -O ihex f1.rbf objcopy.hex)
read -r srec_wall srec_s _ < <(measure srec_cat f1.rbf -binary -o srec.hex -I)
for hex in ours.hexout objcopy.hex srec.hex; do
    objcopy -I ihex -O binary "$hex" decoded.bin
    cmp f1.rbf decoded.bin || { echo "$hex does not decode to the .rbf" >&2; exit 1; }
done
echo "CPU: engine ${hex_s}s, objcopy ${objcopy_s}s ($(ratio "$hex_s" "$objcopy_s")x, target >= 2)," \
    "srec_cat ${srec_s}s ($(ratio "$hex_s" "$srec_s")x, target >= 20)"
echo "wall: engine ${hex_wall}s, objcopy ${objcopy_wall}s, srec_cat ${srec_wall}s"
hex_ok=$(awk -v a="$hex_s" -v o="$objcopy_s" -v s="$srec_s" 'BEGIN { print (2 * a <= o && 20 * a <= s ? 1 : 0) }')

status=0
((rpd_ok)) || { echo "MISSED: .rpd slower than objcopy"; status=1; }
((ours_kb <= limit_kb)) || { echo "MISSED: peak memory over the limit"; status=1; }
((hex_ok)) || { echo "MISSED: .hexout speed ratios"; status=1; }
exit $status
