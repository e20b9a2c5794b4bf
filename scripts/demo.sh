#!/usr/bin/env bash
# Shows the main job on the messages of examples/messages.txt: text to a bag, the bag as dump, JSON and bytes of both
# forms, and the bytes back to the same bag.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C

scripts/setup.sh build
echo "building build/release/orvexargs"
mkdir -p build
if ! { cmake --preset release && cmake --build --preset release --target orvexargs; } >build/demo.log 2>&1; then
    tail -n 40 build/demo.log
    exit 1
fi

messages=examples/messages.txt
convert=(build/release/orvexargs convert)
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

"${convert[@]}" "$messages" >"$out/dump"
"${convert[@]}" --to json "$messages" >"$out/json"
for form in full compact; do
    "${convert[@]}" --to $form "$messages" >"$out/$form"
    "${convert[@]}" --from $form --to json "$out/$form" >"$out/back-$form"
done

line_of() { sed -n "$2p" "$1"; }

show_bytes() {
    local form=$1 number=$2 hex same=DIFFERENT
    hex=$(line_of "$out/$form" "$number")
    [ "$(line_of "$out/back-$form" "$number")" = "$(line_of "$out/json" "$number")" ] && same="the same"
    echo "  $form, $((${#hex} / 2)) bytes; back to JSON: $same"
    echo "$hex" | fold -w 96 | sed 's/^/    /'
}

show() {
    echo
    echo "Message $1"
    echo "  text"
    line_of "$messages" "$1" | fold -s -w 110 | sed 's/^/    /'
    echo "  dump"
    line_of "$out/dump" "$1" | fold -s -w 110 | sed 's/^/    /'
    echo "  JSON, in which a byte is the character of the same number"
    line_of "$out/json" "$1" | sed 's/},{/},\n{/g; s/"entries":\[{/"entries":[\n{/g' | sed 's/^/    /'
    show_bytes full "$1"
    show_bytes compact "$1"
}

for pattern in '^MessageID=9;AgentState' 'Premium, plus' 'ListTeamID='; do
    show "$(grep -n -m 1 "$pattern" "$messages" | cut -d: -f1)"
done

echo
echo "All messages, in bytes"
echo
paste -d $'\001' "$out/dump" "$messages" "$out/json" "$out/full" "$out/compact" "$out/back-full" "$out/back-compact" |
    awk -F '\001' '
        BEGIN {
            printf "%4s  %-34s %6s %6s %6s %7s %8s  %s\n", "", "message", "fields", "text", "JSON", "full", "compact", "back"
        }
        {
            name = match($1, /MessageID:[A-Za-z]+/) ? substr($1, RSTART + 10, RLENGTH - 10) : "-"
            json = $3
            fields = gsub(/"type":/, "", $3)
            same = NF == 7 && $6 == json && $7 == json
            bad += !same
            printf "%4d  %-34s %6d %6d %6d %7d %8d  %s\n", NR, name, fields, length($2), length(json), length($4) / 2,
                length($5) / 2, same ? "the same" : "DIFFERENT"
            sum[1] += fields; sum[2] += length($2); sum[3] += length(json)
            sum[4] += length($4) / 2; sum[5] += length($5) / 2
        }
        END {
            printf "%4s  %-34s %6d %6d %6d %7d %8d  %s\n", "", NR " messages", sum[1], sum[2], sum[3], sum[4], sum[5],
                bad ? bad " DIFFERENT" : "all the same"
            exit bad > 0
        }'
