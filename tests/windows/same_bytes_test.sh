#!/usr/bin/env bash
# orvexargs as a Windows program gives the same bytes as on Linux: for the sample messages and generated ones, in every
# form, both ways, from files and from standard input.
#
#   same_bytes_test.sh WINDOWS-PROGRAMS LINUX-PROGRAMS
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/windows/wine.sh
here=$(realpath "$2")/orvexargs
messages=$PWD/examples/messages.txt
work=$(realpath "$(mktemp -d -p "$1")")
trap 'cd /; rm -rf "$work"; end_wine' EXIT
cp "$1/orvexargs.exe" "$work"
cd "$work"

# Names of keywords and others, numbers about the limits, words, quoted texts, lists, bytes above 0x7E, and broken lines.
generate() {
    LC_ALL=C awk 'BEGIN {
        srand(20260)
        n = split("MessageID AgentState InvokeID calltype callvariable1 DNIS x own.key Agents \303\251t\303\251 k1 Zz _a 17", names, " ")
        m = split("0 -1 5 65535 65536 2147483647 -2147483648 99999999999 abc \"two words\" \"\" 1,2,3 1001,\"a b\",x Jos\303\251 \351 \"a\\\"b\" true %1 a=b \"x;y\" (z) \"open", values, " ")
        values[m + 1] = "\"two words\""; values[m + 2] = "\"a ; b\""
        for (line = 0; line < 3000; ++line) {
            text = ""
            for (i = int(rand() * 6); i >= 0; --i)
                text = text names[1 + int(rand() * n)] "=" values[1 + int(rand() * (m + 2))] (i ? ";" : "")
            print text (line % 50 ? "" : "\r")
        }
    }'
}
generate >generated.txt
cp "$messages" sample.txt

# both NAME ARGUMENTS...: the results, and the messages about lines that cannot be read, of both programs.
both() {
    local name=$1 status=0 expected=0
    shift
    "$here" "$@" >"$name.here" 2>"$name.here.err" || expected=$?
    wine orvexargs.exe "$@" >"$name.there" 2>"$name.there.err" || status=$?
    [ "$status" = "$expected" ]
    cmp "$name.here" "$name.there"
    diff <(grep -v '^[0-9][0-9]:[0-9][0-9]:\|^'$'\t' "$name.here.err") \
        <(tr -d '\r' <"$name.there.err" | grep -v '^[0-9][0-9]:[0-9][0-9]:\|^'$'\t')
    compared=$((compared + $(wc -l <"$name.here")))
}
compared=0
for source in sample generated; do
    both "$source.tokens" tokens "$source.txt"
    for form in dump json full compact; do both "$source.$form" convert --partial --to "$form" "$source.txt"; done
    for form in json full compact; do both "$source.$form.back" convert --from "$form" --to json "$source.$form.here"; done
done
"$here" convert --to json <generated.txt >stdin.here 2>/dev/null || true
wine orvexargs.exe convert --to json <generated.txt >stdin.there 2>/dev/null || true
cmp stdin.here stdin.there
[ -s stdin.here ]
echo "SUMMARY: lines of both systems compared: $((compared + $(wc -l <stdin.here)))"
