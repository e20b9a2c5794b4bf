#!/usr/bin/env bash
# The 32-bit programs, run in an emulated guest, since 32-bit code may not start here: the unit tests, the logger with
# its server, registration, script clients, the example client.
#
#   guest_test.sh PROGRAMS-FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/windows/registry.sh
export VM32_TIMEOUT=${VM32_TIMEOUT:-600}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/in"
cp tests/windows/client.* "$1"/*.dll "$1"/Probe.tlb "$work/in"
for program in "$1"/*.exe; do i686-w64-mingw32-strip -o "$work/in/${program##*/}" "$program"; done

commands=('export WINEDLLOVERRIDES="$WINEDLLOVERRIDES;winedbg.exe=d"')  # a program that crashes just ends
# Their output goes to files, since it comes out of the guest slowly.
run_tests() { commands+=("./$1.exe --gtest_brief=1 --gtest_filter='$2' >$1.out 2>&1 || { tail -n 40 $1.out; false; }"); }
for program in orvextests orvexplatformtests orvexoleautotests orvexcomponenttests orvexcomponentlinetests; do
    run_tests $program '-*Manual*'
done
# Of the logger what takes no long waits; all of it runs in 64 bits.
run_tests orvexloggingtests "Log*:LineQueue*:*RunningServerIsShared:*MessagesOfAClient:*SignalEndsIt*"

export_to() { commands+=("reg export HKCR $1.reg /y >/dev/null"); }
export_to before
commands+=('regsvr32 /s OrVexComArguments.dll')
export_to once
commands+=('regsvr32 /s OrVexComArguments.dll')
export_to twice
commands+=('./com_client.exe >client.out')
for script in client.vbs client.js; do commands+=("cscript //nologo $script >$script.out"); done
commands+=('regsvr32 /s /u OrVexComArguments.dll')
export_to after

scripts/windows32/run.sh -o "$work/out" "$work/in" "${commands[@]}"
grep -h "ms total\|^\[  PASSED" "$work"/out/orvex*.out
diff <(tr -d '\r' <"$work/out/client.out") tests/component/com_client.expected
for script in client.vbs client.js; do
    tr -d '\r' <"$work/out/$script.out" | grep '^SUMMARY:\|FAILED'
    grep -q '^SUMMARY: .* failures: 0' "$work/out/$script.out"
done
for state in before once twice after; do registry_values "$work/out/$state.reg" >"$work/$state"; done
check_registration "$work"/{before,once,twice,after} win32
