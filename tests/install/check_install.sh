#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the built project into a scratch prefix, builds the consumer project against it, and
# runs the consumer with the installed data directory.
# Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build="$1"
source="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
test -f "$scratch/prefix/share/corvane/data/web/app.js" || { echo "the web editor's page not installed"; exit 1; }

# A missing header, schema or tool fails the consumer's build, xmllint or the runs below.
cmake -S "$source/tests/install/consumer" -B "$scratch/consumer" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null

mkdir "$scratch/work"
# The consumer program lives outside the prefix, so it finds the data directory only by name.
output="$(CORVANE_DATA_DIR="$scratch/prefix/share/corvane" \
    "$scratch/consumer/app" "$source/examples/minimal.zeb" "$scratch/work")"
echo "$output"
grep -q "output: Raw Binary File (.rbf)" <<<"$output"
xmllint --noout --schema "$scratch/prefix/share/corvane/xsd/zeb.xsd" "$scratch/work/saved.zeb"
# The installed tool finds its data beside itself, with no help from the environment.
version="$(env -u CORVANE_DATA_DIR "$scratch/prefix/bin/corvane" --version)"
echo "$version"
grep -q "data directory: $scratch/prefix/share/corvane\$" <<<"$version"
# ... the device catalogue included: it makes an input file, checks the example against it and
# generates the example's output file.
(
    cd "$scratch/work"
    mkdir -p output_files
    env -u CORVANE_DATA_DIR "$scratch/prefix/bin/corvane" --make-sof --device 7TR440PA3R1 --size 4096 design.sof
    env -u CORVANE_DATA_DIR "$scratch/prefix/bin/corvane" "$source/examples/minimal.zeb"
)
