#!/usr/bin/env bash
# Test programs as 64-bit Windows programs under Wine.
#
#   unit_tests.sh PROGRAMS-FOLDER PROGRAM...
set -euo pipefail
cd "$(dirname "$0")/../.."
programs=$1
shift
. tests/windows/wine.sh
cd "$programs"

# What the vendor's manual says and Wine does otherwise is in tests with Manual in their names.
for program in "$@"; do
    echo "-- $program"
    wine reg delete 'HKLM\Software\Zelko Systems' /f >/dev/null 2>&1 || true
    wine "$program.exe" --gtest_brief=1 --gtest_filter='-*Manual*'
done
