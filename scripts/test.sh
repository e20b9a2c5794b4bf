#!/usr/bin/env bash
# Builds and runs every test, and stops at the first that fails. What a step prints is in build/test-logs.
#
#   scripts/test.sh [SECONDS]      how long each fuzz target runs, 30 by default
set -euo pipefail
cd "$(dirname "$0")/.."
fuzz_seconds=${1:-30}
logs=$PWD/build/test-logs
mkdir -p "$logs"
export ORVEX_REGISTRY=$PWD/build/registry  # not the machine's own

# step NAME TEXT COMMAND...: one line when it begins, one when it ends.
step() {
    local name=$1 text=$2 start=$SECONDS status
    shift 2
    echo "-- $text"
    # Not as a condition: inside one the shell would go on behind a failing command.
    set +e
    (set -e && "$@") >"$logs/$name.log" 2>&1
    status=$?
    set -e
    if [ $status -ne 0 ]; then
        tail -n 60 "$logs/$name.log"
        echo "   FAILED, $((SECONDS - start)) s; all of it is in build/test-logs/$name.log"
        exit 1
    fi
    echo "   passed, $((SECONDS - start)) s$(summary "$logs/$name.log")"
}

summary() {
    sed -n -e 's/^SUMMARY: //p' -e 's/^\[  PASSED  \] /passed: /p' \
        -e 's/^100% tests passed, 0 tests failed out of \(.*\)/test programs passed: \1/p' "$1" |
        paste -s -d ';' | sed -e 's/;/; /g' -e 's/^/: /'
}

build() {
    local preset=$1
    shift
    cmake --preset "$preset"
    cmake --build --preset "$preset" "$@"
}

check_formatting() {
    git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
    echo "SUMMARY: $(git ls-files -- '*.cpp' '*.h' | wc -l) files"
}

# With the compile commands of the build before it.
check_code() {
    local folders=(failures values arguments names logging component platform tools examples)
    git ls-files -z -- "${folders[@]/%//*.cpp}" |
        xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/asan --quiet --warnings-as-errors='*'
    echo "SUMMARY: $(git ls-files -- "${folders[@]/%//*.cpp}" | wc -l) files"
}

test_asan() {
    build asan
    ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        ctest --test-dir build/asan --output-on-failure --no-tests=error --timeout 300 -j $((2 * $(nproc)))
}

# The thread sanitizer wants its fixed addresses free, so the addresses of the process are not made random.
test_tsan() {
    local fixed=()
    if setarch "$(uname -m)" -R true 2>/dev/null; then fixed=(setarch "$(uname -m)" -R); fi
    local programs=(orvextests orvexcomponenttests orvexplatformtests orvexloggingtests) program
    build tsan --target "${programs[@]}"
    for program in "${programs[@]}"; do
        TSAN_OPTIONS=halt_on_error=1 "${fixed[@]}" "build/tsan/$program" --gtest_filter='*Thread*:Mutexes.*:-*NothingIsLost*'
    done
}

# Finds go to a folder of the build; only what makes a target fail is worth a look.
fuzz_one() {
    local target=$1 name=${1#build/fuzz/fuzz_}
    local finds=build/fuzz/finds-$name
    mkdir -p "$finds"
    "$target" -max_total_time="$fuzz_seconds" -timeout=10 -close_fd_mask=1 -print_final_stats=1 \
        -dict=fuzz/keywords.dict -artifact_prefix=build/fuzz/failing-"$name"- "$finds" "fuzz/corpus/$name" 2>&1 |
        sed "s/^stat::number_of_executed_units: */SUMMARY: $name inputs: /"
}

# As many at a time as there are processors.
fuzz() {
    local sources=(fuzz/fuzz_*.cpp) target
    export -f fuzz_one
    export fuzz_seconds
    for target in "${sources[@]##*/}"; do echo "build/fuzz/${target%.cpp}"; done |
        xargs -P "$(nproc)" -I TARGET bash -c 'set -e -o pipefail; fuzz_one TARGET'
}

check_messages() {
    local convert=(build/release/orvexargs convert) messages=examples/messages.txt
    "${convert[@]}" --to json "$messages" >build/messages.json
    for form in full compact; do
        "${convert[@]}" --to "$form" "$messages" | "${convert[@]}" --from "$form" --to json >build/messages.back
        cmp build/messages.json build/messages.back
    done
    echo "SUMMARY: $(wc -l <build/messages.json) messages"
}

build_windows() {
    build windows-x64
    build windows-x86
    tests/windows/module_test.sh x86_64-w64-mingw32 build/windows-x64
    tests/windows/module_test.sh i686-w64-mingw32 build/windows-x86
}

# Built in another folder, the module is the same to the byte.
check_reproducible() {
    cmake --preset windows-x64 -B build/windows-again
    cmake --build build/windows-again --target OrVexComArguments
    cmp build/windows-x64/OrVexComArguments.dll build/windows-again/OrVexComArguments.dll
}

# The platform's own against the real calls.
test_windows() {
    tests/windows/unit_tests.sh build/windows-x64 orvextests orvexplatformtests orvexoleautotests orvexcomponenttests \
        orvexcomponentlinetests
}

test_windows_logging() {
    WINE_SECONDS=900 tests/windows/unit_tests.sh build/windows-x64 orvexloggingtests
    tests/windows/as_typed_test.sh build/windows-x64
}

scripts/setup.sh
step formatting "Formatting of all sources" check_formatting
step asan "All tests under the address and undefined-behaviour sanitizers" test_asan
step clang-tidy "Static checks of the library and the tools" check_code
step tsan "Tests with threads under the thread sanitizer" test_tsan
step fuzz-build "Fuzz targets" build fuzz --target fuzz/all
step fuzz "Every fuzz target for $fuzz_seconds s from its corpus" fuzz
step release "Release build" build release
step messages "Sample messages through both forms and back" check_messages
step example "Example program" build/release/fill_and_pack
step component "Registration, example client and unregistration" tests/component/com_client_test.sh build/release
step windows-build "Windows programs for 64 and 32 bit, and what their module exports, imports and carries" build_windows
step windows-again "The Windows module built again, to the same bytes" check_reproducible
step windows-tests "All unit tests as Windows programs, under Wine" test_windows
step windows-logging "Logger and trace server on Windows, killed and stuck as on Linux" test_windows_logging
step windows-component "Registration and script clients on Windows" tests/windows/component_test.sh build/windows-x64
step windows-bytes "orvexargs on Windows and on Linux" tests/windows/same_bytes_test.sh build/windows-x64 build/release
step windows32-image "An emulated machine for 32-bit Windows programs" scripts/windows32/build-image.sh
step windows32 "Unit tests, trace server, registration and clients as 32-bit programs" tests/windows/guest_test.sh build/windows-x86
step packages "Packages" scripts/package.sh
step packages-linux "Examples built against the Debian package" tests/package_test.sh
step packages-windows "Installation, a client and removal on Windows" tests/windows/package_test.sh build/windows-x64
step demo "Demonstration" scripts/demo.sh
echo "All passed in $SECONDS s"
