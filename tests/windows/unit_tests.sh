#!/usr/bin/env bash
# The unit tests of every subsystem as 64-bit Windows programs under Wine, those of the platform against the real calls.
#
#   unit_tests.sh PROGRAMS-FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
programs=$1
. tests/windows/wine.sh
cd "$programs"

# What the vendor's manual says and Wine does otherwise is in tests with Manual in their names.
for program in orvextests orvexplatformtests orvexoleautotests orvexcomponenttests orvexcomponentlinetests; do
    echo "-- $program"
    wine reg delete 'HKLM\Software\Zelko Systems' /f >/dev/null 2>&1 || true
    wine "$program.exe" --gtest_brief=1 --gtest_filter='-*Manual*'
done
