#!/usr/bin/env bash
# Types the commands of docs/logging.md for Windows into a console, while a program runs, and looks at what they show.
#
#   as_typed_test.sh PROGRAMS-FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
sources=$PWD
. tests/windows/wine.sh
cd "$1"
work=$(mktemp -d -p .)

sed -n '/^```bat$/,/^```$/p' "$sources/docs/logging.md" | sed '/^```/d' >"$work/typed"
program() { (for _ in $(seq 60); do echo 'InvokeID=5' && sleep 0.1; done) | wine orvexargs.exe convert >/dev/null 2>&1; }
# The lines as they are typed, with time for each; where the text says so, the program starts.
typed() {
    while read -r line; do
        case $line in
            'rem start the program'*) program & sleep 2 ;;
            *) echo "$line" && sleep 1 ;;
        esac
    done <"$work/typed"
    echo exit
    wait
}
wine reg delete 'HKLM\Software\Zelko Systems' /f >/dev/null 2>&1 || true
rm -f "$WINEPREFIX"/drive_c/users/*/AppData/Local/orvex/client.*
typed | wine cmd
# Wine's own "type" shows no file that is being written.
tr -d '\r' <"$(echo "$WINEPREFIX"/drive_c/users/*/AppData/Local/orvex/client.*.log)" >"$work/shown"

# Between the two changes there are entries to methods, behind the second there are none.
awk '/TraceMask changed: New TraceMask is 0x1000007/ { on = 1; next }
     /TraceMask changed: New TraceMask is 0x7/ { off = 1; next }
     / LogWrapper::/ { next }
     /::/ { if (on && !off) during++; else other++; }
     END { print "SUMMARY: lines of methods while they were on: " during + 0 ", otherwise: " other + 0
           exit !(on && off && during > 5 && !other) }' "$work/shown" || { cat "$work/shown"; exit 1; }
wine reg delete 'HKLM\Software\Zelko Systems' /f >/dev/null
rm -rf "$work"
