#!/bin/sh
# Registers the module in a registry of its own, runs the example client in a process of its own, and unregisters: the
# client prints what it should, and nothing of the classes stays.
# Usage: com_client_test.sh FOLDER_OF_PROGRAMS
set -eu
expected=$(realpath "$(dirname "$0")/com_client.expected")
cd "$1"
ORVEX_REGISTRY=$(mktemp -d)
export ORVEX_REGISTRY
trap 'rm -rf "$ORVEX_REGISTRY"' EXIT

if ./com_client >"$ORVEX_REGISTRY/before" 2>&1; then
    echo "the client ran without the module" >&2
    exit 1
fi
./orvexreg register OrVexComArguments.so
./com_client | tr -d '\r' >"$ORVEX_REGISTRY/out"
diff "$ORVEX_REGISTRY/out" "$expected"
./orvexreg unregister OrVexComArguments.so
if ./orvexreg query HKCR /s | grep -i -e orvex -e E06D99; then
    echo "left behind by the registration" >&2
    exit 1
fi
