#!/usr/bin/env bash
# Types the commands of docs/logging.md that switch tracing on and off in a running program, and looks at what they show.
#
#   as_typed_test.sh PROGRAMS-FOLDER SOURCES-FOLDER
set -euo pipefail
programs=$(realpath "$1")
sources=$(realpath "$2")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/build" "$folder/tmp" "$folder/run"
chmod 700 "$folder/run"
ln -s "$programs" "$folder/build/release"

sed -n '/^```sh$/,/^```$/p' "$sources/docs/logging.md" | sed '/^```/d' >"$folder/typed"
cd "$folder"
TMPDIR=$folder/tmp XDG_RUNTIME_DIR=$folder/run bash -e -o pipefail typed >shown
cat shown

log=$(cat tmp/*/orvex/client.*.log)
server=$(sed -n 's/.* started, process //p' <<<"$log")
kill "$server"

# Between the two changes there are entries to methods, behind the second there are none.
awk '/TraceMask changed: New TraceMask is 0x1000007/ { on = 1; next }
     /TraceMask changed: New TraceMask is 0x7/ { off = 1; next }
     /::/ { if (on && !off) during++; else other++; }
     END { print during + 0 " entries while they were on, " other + 0 " otherwise"; exit !(on && off && during > 5 && !other) }' \
    <(grep -v ' LogWrapper::' <<<"$log")
grep -q 'orvexargs  TraceMask changed: New TraceMask is 0x7' shown
