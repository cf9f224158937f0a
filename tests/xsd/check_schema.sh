#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks xsd/zeb.xsd: tests/xsd/valid_*.zeb, examples/*.zeb and the ```xml examples of
# docs/setup-document.md validate; tests/xsd/invalid_*.zeb are rejected with the text of their
# "<!-- expect: TEXT -->" comment in xmllint's report; no other .zeb lies in tests/xsd/; and a few
# rules of the schema itself hold (sizes of the shared lists, named types, examples/full.zeb uses
# every element).  Usage: check_schema.sh [SOURCE_DIR]; exit status 0 when every check passes.
set -u

src=${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)}
schema="$src/xsd/zeb.xsd"
tests="$src/tests/xsd"
examples="$src/examples"

if ! command -v xmllint >/dev/null 2>&1; then
    echo "check_schema: xmllint not found (install libxml2-utils, see scripts/bootstrap.sh)" >&2
    exit 1
fi
if [ ! -s "$schema" ]; then
    echo "check_schema: missing or empty schema $schema" >&2
    exit 1
fi

failures=0
checked=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# Validates one document; leaves xmllint's report in $report and returns its status.
validate() {
    report=$(xmllint --noout --schema "$schema" "$1" 2>&1)
}

# expect_valid FILE [NAME]: FILE must validate; NAME (default: FILE's name) is shown.
expect_valid() {
    local f=$1 name=${2:-$(basename "$1")}
    checked=$((checked + 1))
    if validate "$f"; then
        echo "ok:   $name accepted"
    else
        fail "$name should validate:"
        printf '%s\n' "$report" | sed 's/^/      /'
    fi
}

expect_invalid() {
    local f=$1 expected
    checked=$((checked + 1))
    expected=$(sed -n 's/^<!-- expect: \(.*\) -->$/\1/p' "$f" | head -n 1)
    if [ -z "$expected" ]; then
        fail "$f has no '<!-- expect: ... -->' line"
        return
    fi
    if validate "$f"; then
        fail "$f should be rejected but validates"
    elif ! printf '%s\n' "$report" | grep -qF -- "$expected"; then
        fail "$f rejected for another reason; expected \"$expected\", got:"
        printf '%s\n' "$report" | sed 's/^/      /'
    else
        echo "ok:   $(basename "$f") rejected"
    fi
}

# -- the schema itself ---------------------------------------------------------------------------
xpath() {
    xmllint --xpath "$1" "$schema" 2>/dev/null
}
if echo '<zeb/>' | xmllint --noout --schema "$schema" - 2>&1 | grep -q 'failed to compile\|Schemas parser error'; then
    fail "the schema does not compile"
fi
n=$(xpath "count(//*[local-name()='attribute'][@use='required'][@default])")
[ "$n" = "0" ] || fail "$n required attribute(s) carry a default"
n=$(xpath "count(//*[local-name()='attribute'][not(@use)])")
[ "$n" = "0" ] || fail "$n attribute(s) without an explicit use="
n=$(xpath "count(//*[local-name()='simpleType'][@name='zebFileType']//*[local-name()='enumeration'])")
[ "$n" = "23" ] || fail "zebFileType has $n names, expected 23"
n=$(xpath "count(//*[local-name()='simpleType'][@name='zebConfigMode']//*[local-name()='enumeration'])")
[ "$n" = "8" ] || fail "zebConfigMode has $n names, expected 8"
n=$(xpath "count(/*/*[local-name()='element'])")
[ "$n" = "1" ] || fail "$n global elements, expected only zeb"
n=$(xpath "count(//*[local-name()='complexType'][not(@name)])")
[ "$n" = "0" ] || fail "$n anonymous complex type(s); every element has a named type"

# Every element the schema declares appears in examples/full.zeb.
names=$(xpath "//*[local-name()='element']/@name" | sed -n 's/.*name="\([^"]*\)".*/\1/p' | sort -u)
count=$(printf '%s\n' "$names" | grep -c .)
[ "$count" = "21" ] || fail "the schema declares $count element names, expected 21"
for name in $names; do
    n=$(xmllint --xpath "count(//$name)" "$examples/full.zeb" 2>/dev/null)
    [ "${n:-0}" != "0" ] || fail "examples/full.zeb does not use <$name>"
done

# -- the documents -------------------------------------------------------------------------------
shopt -s nullglob
valid=("$tests"/valid_*.zeb "$examples"/*.zeb)
invalid=("$tests"/invalid_*.zeb)
[ ${#invalid[@]} -gt 0 ] || fail "no invalid_*.zeb documents in $tests"
[ ${#valid[@]} -gt 0 ] || fail "no valid documents"

for f in "$tests"/*.zeb; do
    case $(basename "$f") in
        valid_*.zeb | invalid_*.zeb) ;;
        *) fail "$f is neither valid_*.zeb nor invalid_*.zeb" ;;
    esac
done

for f in "${valid[@]}"; do expect_valid "$f"; done
for f in "${invalid[@]}"; do expect_invalid "$f"; done

# -- the XML examples of the user documentation --------------------------------------------------
# Each ```xml block of docs/setup-document.md must validate; a block without a <zeb> root is a
# fragment of root-level containers and is checked inside <zeb>...</zeb>.
doc="$src/docs/setup-document.md"
if [ -f "$doc" ]; then
    tmp=$(mktemp -d)
    trap 'rm -rf "$tmp"' EXIT
    awk -v dir="$tmp" '/^```xml/ { n++; f = 1; next } /^```/ { f = 0 } f { print > (dir "/block" n ".xml") }' "$doc"
    blocks=("$tmp"/block*.xml)
    [ ${#blocks[@]} -gt 0 ] || fail "no xml examples found in $doc"
    for b in "${blocks[@]}"; do
        if ! grep -q '<zeb' "$b"; then
            { echo '<zeb>'; cat "$b"; echo '</zeb>'; } > "$b.wrapped" && mv "$b.wrapped" "$b"
        fi
        expect_valid "$b" "docs/setup-document.md example $(basename "$b" .xml)"
    done
else
    fail "missing $doc"
fi

echo "check_schema: $checked documents, $failures failure(s)"
[ "$failures" -eq 0 ]
