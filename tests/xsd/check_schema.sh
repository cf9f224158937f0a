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

[ -s "$schema" ] || { echo "check_schema: missing or empty schema $schema" >&2; exit 1; }
command -v xmllint >/dev/null || { echo "check_schema: xmllint not found (scripts/bootstrap.sh)" >&2; exit 1; }

failures=0
checked=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# check FILE [NAME]: a valid_ document, an example or a docs block validates; an invalid_ one is
# rejected with the text of its expect comment in xmllint's report.
check() {
    local f=$1 name=${2:-$1} expected report
    checked=$((checked + 1))
    report=$(xmllint --noout --schema "$schema" "$f" 2>&1)
    local status=$?
    case $(basename "$f") in
        invalid_*)
            expected=$(sed -n 's/^<!-- expect: \(.*\) -->$/\1/p' "$f" | head -n 1)
            [ -n "$expected" ] || { fail "$name has no '<!-- expect: ... -->' line"; return; }
            [ $status -ne 0 ] || { fail "$name should be rejected but validates"; return; }
            printf '%s\n' "$report" | grep -qF -- "$expected" && return
            fail "$name rejected for another reason; expected \"$expected\", got:" ;;
        *) [ $status -eq 0 ] && return; fail "$name should validate:" ;;
    esac
    printf '%s\n' "$report" | sed 's/^/      /'
}

# -- the schema itself ---------------------------------------------------------------------------
xpath() {
    xmllint --xpath "$1" "$schema" 2>/dev/null
}
if echo '<zeb/>' | xmllint --noout --schema "$schema" - 2>&1 | grep -q 'failed to compile\|Schemas parser error'; then
    fail "the schema does not compile"
fi
# XPath count, expected value, what the count is of.
while IFS='|' read -r expression expected what; do
    n=$(xpath "count($expression)")
    [ "$n" = "$expected" ] || fail "$what: $n, expected $expected"
done <<'EOF_RULES'
//*[local-name()='attribute'][@use='required'][@default]|0|required attributes with a default
//*[local-name()='attribute'][not(@use)]|0|attributes without an explicit use=
//*[local-name()='simpleType'][@name='zebFileType']//*[local-name()='enumeration']|23|names of zebFileType
//*[local-name()='simpleType'][@name='zebConfigMode']//*[local-name()='enumeration']|8|names of zebConfigMode
/*/*[local-name()='element']|1|global elements (only zeb)
//*[local-name()='complexType'][not(@name)]|0|anonymous complex types
EOF_RULES

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
invalid=("$tests"/invalid_*.zeb)
[ ${#invalid[@]} -gt 0 ] || fail "no invalid_*.zeb documents in $tests"
for f in "$tests"/*.zeb; do
    case $(basename "$f") in valid_*.zeb | invalid_*.zeb) ;; *) fail "$f is neither valid_*.zeb nor invalid_*.zeb" ;; esac
done
for f in "$tests"/valid_*.zeb "$examples"/*.zeb "${invalid[@]}"; do check "$f"; done

# -- the XML examples of the user documentation --------------------------------------------------
# Each ```xml block of docs/setup-document.md must validate; a block without a <zeb> root is a
# fragment of root-level containers and is checked inside <zeb>...</zeb>.
doc="$src/docs/setup-document.md"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
awk -v dir="$tmp" '/^```xml/ { n++; f = 1; next } /^```/ { f = 0 } f { print > (dir "/block" n ".xml") }' "$doc" ||
    fail "cannot read $doc"
blocks=("$tmp"/block*.xml)
[ ${#blocks[@]} -gt 0 ] || fail "no xml examples found in $doc"
for b in "${blocks[@]}"; do
    if ! grep -q '<zeb' "$b"; then { echo '<zeb>'; cat "$b"; echo '</zeb>'; } >"$b.x" && mv "$b.x" "$b"; fi
    check "$b" "docs/setup-document.md example $(basename "$b" .xml)"
done

echo "check_schema: $checked documents, $failures failure(s)"
[ "$failures" -eq 0 ]
