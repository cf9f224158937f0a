#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the libFuzzer targets when needed and runs one of them, or each in turn, for SECONDS:
#   scripts/fuzz.sh TARGET SECONDS   (TARGET as in fuzz/fuzz_TARGET.cpp)
#   scripts/fuzz.sh all SECONDS
# Each run first replays the kept corpus fuzz/corpus/TARGET/ (seeds and every input that once
# failed), so a regression fails at once. New inputs go to a scratch corpus in the build folder,
# failing inputs to its artifacts folder. Exits non-zero when a target fails.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${CORVANE_FUZZ_BUILD_DIR:-$root/build-fuzz}"

if [ $# -ne 2 ] || ! [[ "$2" =~ ^[0-9]+$ ]]; then
    echo "usage: scripts/fuzz.sh TARGET|all SECONDS" >&2
    exit 2
fi
if [ "$1" = all ]; then
    targets=()
    for source in "$root"/fuzz/fuzz_*.cpp; do
        name="$(basename "$source" .cpp)"
        targets+=("${name#fuzz_}")
    done
elif [ -f "$root/fuzz/fuzz_$1.cpp" ]; then
    targets=("$1")
else
    echo "fuzz.sh: no target '$1' (fuzz/fuzz_$1.cpp)" >&2
    exit 2
fi

if [ ! -f "$build/CMakeCache.txt" ]; then
    "$root/scripts/bootstrap.sh"
    CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCORVANE_BUILD_FUZZERS=ON -DCORVANE_BUILD_TESTS=OFF \
        -DCMAKE_BUILD_TYPE=Fuzz -DCMAKE_CXX_FLAGS_FUZZ="-O1 -gline-tables-only" \
        $(command -v ccache >/dev/null && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache) >/dev/null
fi
cmake --build "$build" -j "$(nproc)" --target "${targets[@]/#/fuzz_}" >/dev/null

status=0
for target in "${targets[@]}"; do
    scratch="$build/fuzz-corpus/$target"
    mkdir -p "$scratch" "$build/fuzz-artifacts"
    # Inputs stay small, except for the flash verifier, whose seeds are whole flash images.
    max_len=65536
    [ "$target" = rpd ] && max_len=$((1 << 20))
    options=(-max_total_time="$2" -max_len=$max_len -timeout=20 -rss_limit_mb=2560 -close_fd_mask=3
             -print_final_stats=1 -artifact_prefix="$build/fuzz-artifacts/$target-")
    # A dictionary serves the targets that share its name's first word (zeb.dict: zeb_parse, zeb_check).
    dict="$root/fuzz/${target%%_*}.dict"
    [ -f "$dict" ] && options+=(-dict="$dict")
    echo "== fuzz_$target for $2 s"
    if ! "$build/fuzz/fuzz_$target" "${options[@]}" "$scratch" "$root/fuzz/corpus/$target" \
        2>"$build/fuzz-artifacts/$target.log"; then
        tail -n 60 "$build/fuzz-artifacts/$target.log" >&2
        status=1
    fi
    grep -E '^(#[0-9]+.*DONE|Done|stat::number_of_executed_units|stat::average_exec_per_sec)' \
        "$build/fuzz-artifacts/$target.log" || true
done
exit $status
