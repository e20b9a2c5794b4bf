#!/usr/bin/env bash
# The component as a 64-bit Windows module under Wine: registration, the example client, the script clients.
#
#   component_test.sh PROGRAMS-FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
sources=$PWD
. tests/windows/wine.sh
. tests/windows/registry.sh
work=$(mktemp -d)
trap 'rm -rf "$work"; end_wine' EXIT
cp tests/windows/client.* "$work"
cd "$1"

# Every value of the classes' hive.
registry() {
    wine reg export HKCR "$work/classes.reg" /y >/dev/null
    registry_values "$work/classes.reg" >"$work/$1"
}

wine reg delete 'HKLM\Software\Zelko Systems' /f >/dev/null 2>&1 || true
wine regsvr32 /s /u OrVexComArguments.dll || true
registry before
wine regsvr32 /s OrVexComArguments.dll
registry once
wine regsvr32 /s OrVexComArguments.dll
registry twice

wine com_client.exe | tr -d '\r' >"$work/out"
diff "$work/out" "$sources/tests/component/com_client.expected"
# Trace lines of refused keys stand in between.
for script in client.vbs client.js; do
    (cd "$work" && wine cscript //nologo "$script") | tr -d '\r' | tee "$work/out" | grep -v -e '^[0-9:.]* *CComArg' -e $'^\t' || true
    grep -q '^SUMMARY: .* failures: 0$' "$work/out"
done

wine regsvr32 /s /u OrVexComArguments.dll
registry after
cd "$sources"
check_registration "$work"/{before,once,twice,after} win64
if (cd "$1" && wine com_client.exe) >/dev/null 2>&1; then
    echo "the client ran without the module" >&2
    exit 1
fi
