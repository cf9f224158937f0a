#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Checking large setup documents, beside anchor tools run on the same bytes in the same run:
# 1. OUTPUTS outputs (default 1000) that share one large input: `corvane --check` against
#    sha256sum reading that input once (the check should read it about once, not once per output);
# 2. BITSTREAMS bitstreams (default 100000): `corvane --no-check --save` against xmllint parsing
#    the same document. Prints seconds, peak memory and ratios.
# Usage: bench/bench_documents.sh CORVANE_EXE [OUTPUTS] [BITSTREAMS]
set -eu
exe=$1
outputs=${2:-1000}
bitstreams=${3:-100000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir output_files

# seconds and peak resident kilobytes of a command
measure() {
    /usr/bin/time -f "%e %M" -o "$work/time" "$@" > /dev/null 2>&1 || true
    cat "$work/time" | tail -n 1
}

"$exe" --make-sof --device 7TR440PA3R1 --utilization 100 design.sof > /dev/null
{
    echo '<zeb version="1"><settings mode="AVSTX8"/>'
    echo '<bitstreams><bitstream id="B"><path>design.sof</path></bitstream></bitstreams><output_files>'
    i=0
    while [ $i -lt "$outputs" ]; do
        echo "<output_file name=\"o$i\" directory=\"output_files\" type=\"RBF\"><bitstream_id>B</bitstream_id></output_file>"
        i=$((i + 1))
    done
    echo '</output_files></zeb>'
} > outputs.zeb
python3 - "$bitstreams" <<'PY'
import sys
n = int(sys.argv[1])
with open("bitstreams.zeb", "w") as out:
    out.write('<zeb version="1"><settings mode="AVSTX8"/><bitstreams>\n')
    for i in range(n):
        out.write(f'<bitstream id="B{i}"><path compression="true">design{i}.sof</path></bitstream>\n')
    out.write('</bitstreams><output_files><output_file name="o" directory="output_files" type="RBF">'
              '<bitstream_id>B0</bitstream_id></output_file></output_files></zeb>\n')
PY

size=$(stat -c %s design.sof)
set -- $(measure sha256sum design.sof)
anchor=$1
set -- $(measure "$exe" outputs.zeb --check)
awk -v n="$outputs" -v z="$size" -v s="$1" -v m="$2" -v a="$anchor" 'BEGIN {
    printf "%d outputs sharing one %d-byte input: check %.2fs, peak %d MiB; anchor sha256sum %.2fs; ratio %.1f\n",
           n, z, s, m / 1024, a, s / (a > 0 ? a : 0.01) }'

set -- $(measure xmllint --noout bitstreams.zeb)
anchor_s=$1 anchor_m=$2
set -- $(measure "$exe" bitstreams.zeb --no-check --save saved.zeb)
awk -v n="$bitstreams" -v s="$1" -v m="$2" -v a="$anchor_s" -v am="$anchor_m" 'BEGIN {
    printf "%d bitstreams: read and save %.2fs, peak %d MiB; anchor xmllint %.2fs, peak %d MiB; ratios %.1f time, %.1f memory\n",
           n, s, m / 1024, a, am / 1024, s / (a > 0 ? a : 0.01), m / (am > 0 ? am : 1) }'
