#!/usr/bin/env bash
# Runs orvexargs over the cases of data/orvexargs.cases, and over input too large to stand in a file.
#
#   orvexargs_test.sh ORVEXARGS SOURCE_FOLDER
#
# A case is a comment and lines that begin with:
#   $  the arguments; the input is standard input and the file "input"
#   <  a line of input;  <% the same with the escapes of printf
#   >  a line expected on standard output, >% with escapes; ! one on standard error
#   =  the exit status; left out, it is 0
set -u
orvexargs=$(realpath "$1")
source_folder=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
cases=0
failed=0

fail() {
    echo "FAILED: $1"
    failed=$((failed + 1))
}

start_case() {
    arguments=$1 case_title=$title status=0
    : >input
    : >expected_out
    : >expected_err
}

run_case() {
    local actual
    [ -n "$arguments" ] || return
    cases=$((cases + 1))
    eval "\"\$orvexargs\" $arguments" <input >out 2>err
    actual=$?
    if [ "$actual" -ne "$status" ] || ! cmp -s expected_out out || ! cmp -s expected_err err; then
        fail "line $line_number: $case_title: $arguments"
        echo "  exit status $actual, expected $status"
        diff --label expected --label "standard output" -u expected_out out
        diff --label expected --label "standard error" -u expected_err err
    fi
}

run_cases() {
    local line number=0
    arguments='' title='' case_title='' line_number=0
    while IFS= read -r line; do
        number=$((number + 1))
        case $line in
        '# '*) title=${line:2} ;;
        '$ '*)
            run_case
            line_number=$number
            start_case "${line:2}"
            ;;
        '<% '*) printf '%b\n' "${line:3}" >>input ;;
        '<'*) printf '%s\n' "${line:2}" >>input ;;
        '>% '*) printf '%b\n' "${line:3}" >>expected_out ;;
        '>'*) printf '%s\n' "${line:2}" >>expected_out ;;
        '! '*) printf '%s\n' "${line:2}" >>expected_err ;;
        '= '*) status=${line:2} ;;
        '') ;;
        *)
            echo "line $number of the cases: what is this?"
            exit 1
            ;;
        esac
    done <"$1"
    run_case
}

# expect TITLE STATUS COMMAND...: runs the command into the files out and err.
expect() {
    local title=$1 status=$2 actual
    shift 2
    cases=$((cases + 1))
    "$@" >out 2>err
    actual=$?
    [ "$actual" -eq "$status" ] || fail "$title: exit status $actual, expected $status; $(head -c 200 err)"
}

expect_text() {
    [ "$(head -c 1000 "$2")" = "$3" ] || fail "$1: $(head -c 1000 "$2")"
}

expect_same() {
    cmp -s "$2" "$3" || fail "$1: $2 and $3 differ"
}

# So many bags, each inside the one before.
nested() {
    printf '{"entries":['
    for ((i = 1; i < $1; i++)); do printf '{"key":"a","type":"ARGARRAY","entries":['; done
    printf ']'
    for ((i = 1; i < $1; i++)); do printf '}]'; done
    printf '}\n'
}

repeat() {
    head -c "$2" /dev/zero | tr '\0' "$1"
}

check_depth() {
    nested 100 >deep
    expect "100 levels" 0 "$orvexargs" convert --from json --to json deep
    expect_same "100 levels" deep out
    for form in full compact; do
        expect "100 levels to $form" 0 "$orvexargs" convert --from json --to $form deep
        cp out deep.$form
        expect "100 levels from $form" 0 "$orvexargs" convert --from $form --to json deep.$form
        expect_same "100 levels from $form" deep out
    done
    nested 101 >deep
    expect "101 levels" 1 "$orvexargs" convert --from json --to json deep
    grep -q '1: bags stand more than 100 levels deep$' err || fail "101 levels: $(head -c 500 err)"

    repeat '[' 1000000 >deep
    expect "a million brackets" 1 "$orvexargs" convert --from json deep
    expect_text "a million brackets" err 'deep:1: the line is not an object'
    (printf '{"entries":[{"value":' && cat deep) >deeper
    expect "a million brackets in a value" 1 "$orvexargs" convert --from json deeper
    expect_text "a million brackets in a value" err 'deeper:1: entry 1: "value" is a list'
}

check_long_lines() {
    (printf '{"entries":[{"key":"a","type":"STRING","value":"' && repeat x 5000000 && printf '"}]}\n') >long
    expect "a line of 5 MB" 0 "$orvexargs" convert --from json --to json long long
    cat long long >long2
    expect_same "a line of 5 MB" long2 out
    for form in full compact; do
        expect "a text that $form cannot carry" 1 "$orvexargs" convert --from json --to $form long
        expect_text "a text that $form cannot carry" err "long:1: cannot be written in the $form form"
    done
    (printf 'a="' && repeat x 5000000) >long
    expect "a last line without an end" 0 "$orvexargs" convert long
    [ "$(wc -c <out)" -eq 5000005 ] || fail "a last line without an end: $(wc -c <out) bytes"
    (printf '{"entries":[' && repeat x 5000000) >long
    expect "a long fault" 1 "$orvexargs" convert --from json long
    [ "$(wc -c <err)" -lt 300 ] || fail "a long fault: $(wc -c <err) bytes"
}

check_files() {
    echo a=1 >good
    expect "a file that is not there" 2 "$orvexargs" convert missing good
    expect_text "a file that is not there" out "(a:1)"
    expect_text "a file that is not there" err "orvexargs: missing: cannot be opened"
    expect "a folder" 2 "$orvexargs" convert .
    expect_text "a folder" err "orvexargs: .: cannot be read"
    cases=$((cases + 1))
    "$orvexargs" convert good >/dev/full 2>err
    [ $? -eq 2 ] || fail "a full disk"
    expect_text "a full disk" err "orvexargs: standard output: cannot be written"
}

# Every sample message through both forms and back.
check_messages() {
    local messages=$source_folder/examples/messages.txt
    expect "messages to json" 0 "$orvexargs" convert --to json "$messages"
    cp out direct
    [ "$(wc -l <direct)" -ge 40 ] || fail "messages: $(wc -l <direct) lines"
    for form in full compact json; do
        expect "messages to $form" 0 "$orvexargs" convert --to $form "$messages"
        cp out messages.$form
        expect "messages from $form" 0 "$orvexargs" convert --from $form --to json messages.$form
        expect_same "messages through $form" direct out
    done
}

# The commands in the README give what stands below them.
check_readme() {
    local line command=''
    while IFS= read -r line; do
        case $line in
        '    $ orvexargs '*)
            command=${line:16}
            : >expected_out
            ;;
        '    '*) [ -z "$command" ] || printf '%s\n' "${line:4}" >>expected_out ;;
        *)
            [ -n "$command" ] || continue
            cases=$((cases + 1))
            eval "\"\$orvexargs\" $command" >out 2>&1
            expect_same "README: $command" expected_out out
            command=''
            ;;
        esac
    done <"$source_folder/README.md"
}

run_cases "$source_folder/tests/data/orvexargs.cases"
check_depth
check_long_lines
check_files
check_messages
check_readme
echo "$cases cases, $failed failed"
[ "$failed" -eq 0 ]
