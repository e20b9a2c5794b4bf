#!/usr/bin/env bash
# The component as a 64-bit Windows module under Wine: registration, the example client, the script clients.
#
#   component_test.sh PROGRAMS-FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
sources=$PWD
. tests/windows/wine.sh
cd "$1"
work=$(mktemp -d -p .)
cp "$sources"/tests/windows/client.* "$work"

# Every value of the classes' hive, a line each, the module's path and folder by name.
registry() {
    wine reg export HKCR "$work/classes.reg" /y >/dev/null
    iconv -f UTF-16 -t UTF-8 "$work/classes.reg" | tr -d '\r' |
        awk '/^\[/ { key = $0; next } NF { print key, $0 }' |
        sed -E -e 's/"[^"]*OrVexComArguments\.dll"/"MODULE"/' | LC_ALL=C sort
}
# What is registered for the type library is the system's affair, but for the path.
added() { comm -13 "$work/before" "$1" | grep -vi -e '\\TypeLib\\' -e '\\Interface\\'; }

wine reg delete 'HKLM\Software\Zelko Systems' /f >/dev/null 2>&1 || true
wine regsvr32 /s /u OrVexComArguments.dll || true
registry >"$work/before"
wine regsvr32 /s OrVexComArguments.dll
registry >"$work/once"
diff <(added "$work/once") "$sources/tests/windows/registered.expected"
grep -qiF 'TypeLib\{E06D9943-E730-11D4-9D3C-0010B5522A44}\7.0\409\win64] @="MODULE"' "$work/once"
wine regsvr32 /s OrVexComArguments.dll
registry >"$work/twice"
cmp "$work/once" "$work/twice"
echo "SUMMARY: registry entries of a registration: $(added "$work/once" | wc -l)"

wine com_client.exe | tr -d '\r' >"$work/out"
diff "$work/out" "$sources/tests/component/com_client.expected"
# Trace lines of refused keys stand in between.
for script in client.vbs client.js; do
    wine cscript //nologo "$work/$script" | tr -d '\r' | tee "$work/out" | grep -v -e '^[0-9:.]* *CComArg' -e $'^\t' || true
    grep -q '^SUMMARY: .* failures: 0$' "$work/out"
done

wine regsvr32 /s /u OrVexComArguments.dll
registry >"$work/after"
cmp "$work/before" "$work/after"
if wine com_client.exe >/dev/null 2>&1; then
    echo "the client ran without the module" >&2
    exit 1
fi
rm -rf "$work"
