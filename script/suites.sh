#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The suites of script/test and script/check, what each needs, and how one is run. Both source this file.

# The one table of suites. The columns, with bars between:
#
#   suite      its name
#   lane       script/test runs the lanes side by side, the suites of a lane one after the other: "cpu" keeps all processors
#              busy, "wait" mostly waits, with some that keep the lanes equally long. Suites that build the release by
#              themselves are all in "wait", so that it is not built twice at once; no suite there needs another build
#              than the release.
#   check      what must have changed for script/check to run it: "page" anything, "code" more than pages; "-" it never does
#   packages   groups of script/setup.sh
#   builds     PRESET: TARGET...; PRESET: TARGET... A preset without a target is configured only.
#   command    One that counts ends with "N passed, N failed"; one that doesn't counts as one. Exit status 77 means that this
#              machine or container lacks a right that the suite needs; the suite is skipped then. Without a command the
#              builds are all that is to be seen.
#
# Under valgrind a case takes twenty times as long, and the sanitizers look for leaks in all of them: a sample does here.
# "mipsel-words" are the cases whose numbers are near the limits of 32 bits: lengths, times, counters, records of the queue.
suites() {
    local around='double_apmib double_arpcheck double_interfaces' # what the cases put around a program that is emulated
    cat <<ROWS
compile         | cpu  | code | build                | release: all                          |
objects         | cpu  | page | python               |                                       | tests/structure/check_objects
pages           | cpu  | page | python               |                                       | tests/structure/check_pages
security        | cpu  | page | python               |                                       | tests/structure/check_security
layers          | cpu  | code | python               |                                       | tests/structure/check_layers
items           | cpu  | code | python               |                                       | tests/structure/check_items
vocabulary      | cpu  | code | python               |                                       | tests/structure/check_vocabulary
platform        | cpu  | code | build python         |                                       | tests/structure/check_platform
firmware-page   | cpu  | page | python               |                                       | tests/structure/check_firmware
release         | cpu  | page | python               |                                       | tests/structure/check_release
binary          | cpu  | code | build python         | release: app.cgi                      | tests/structure/check_binary build/release
loaded          | cpu  | code | build python         | release: app.cgi apmib arpcheck driver kernel_stand_in | tests/structure/check_loaded build/release
unit            | cpu  | code | build                | release: unit_tests                   | build/release/unit_tests --gtest_brief=1
cases           | cpu  | code | build cases          | release: app.cgi tests/runner/all     | tests/run_cases --mode plain
cases-resident  | cpu  | -    | build cases          | release: app.scgi tests/runner/all    | tests/run_cases --through scgi
resident-binary | cpu  | -    | build python         | release: app.scgi                     | tests/structure/check_binary build/release 192 app.scgi
firmware-examples | cpu | -   | build cases          | release: app.cgi tests/runner/all     | tests/firmware/examples
product         | cpu  | -    | build cases          | release: tests/runner/all             | tests/product/run
man             | cpu  | -    | man python git router home |                                  | tests/man/run
headers         | cpu  | -    | build cases          | release: app.cgi tests/runner/all     | tests/headers/run
web-servers     | cpu  | -    | build router web-servers | release: app.cgi arpcheck             | tests/web_servers/run
cases-hardened  | cpu  | -    | build cases          | hardened: app.cgi; release: tests/runner/all | tests/run_cases --hardened
cases-hardened-resident | cpu | - | build cases      | hardened: app.scgi; release: tests/runner/all | tests/run_cases --hardened --through scgi --sample 12
e2e-hardened    | cpu  | -    | build router home    | hardened: app.cgi virtual_router/all  | tests/e2e/run --way no-namespaces --build build/hardened --story requests
bench-hardened  | cpu  | -    | build router valgrind | hardened: app.cgi; release: app.cgi apmib arpcheck driver flash bench_floor bench_bare bench_driver bench_hardened | script/bench --hardened --quick
binary-hardened | cpu  | -    | build python         | hardened: app.cgi                     | tests/structure/check_binary build/hardened
attacks         | cpu  | -    | build cases          | hardened: app.cgi; release: app.cgi tests/runner/all | tests/hardened/attacks
contract-made   | cpu  | page | contract             |                                       | contract/make --check
contract        | cpu  | -    | build cases contract | release: app.cgi tests/runner/all     | contract/check
contract-faults | wait | -    | build cases contract | release: app.cgi tests/runner/all     | contract/check --self-test
lint            | cpu  | -    | build lint python    | clang:                                | script/lint
structure       | wait | -    | python               |                                       | tests/structure/selftest
unit-sanitize   | cpu  | -    | build                | sanitize: unit_tests                  | build/sanitize/unit_tests --gtest_brief=1
cases-sanitize  | cpu  | -    | build cases          | sanitize: app.cgi tests/runner/all    | tests/run_cases --mode sanitize
cases-valgrind  | cpu  | -    | build cases valgrind | release: app.cgi tests/runner/all     | tests/run_cases --mode valgrind --first-row --sample 4
torture         | cpu  | -    | build cases          | release: app.cgi tests/runner/all     | tests/torture/run
torture-sanitize | cpu | -    | build cases          | sanitize: app-torture.cgi; release: tests/runner/all | tests/torture/run --mode sanitize --sample 150
torture-hardened | cpu | -    | build cases          | hardened: app.cgi; release: tests/runner/all | tests/torture/run --hardened --sample 300
mutation        | cpu  | -    | build cases          | release: app.cgi unit_tests tests/runner/all | tests/mutation/run --self-test
fuzz-corpora    | cpu  | -    | build fuzz           |                                       | script/fuzz --replay
runner          | cpu  | -    | build cases          | release: tests/runner/all             | tests/runner/selftest/run --tools build/release/tests/runner
clang           | cpu  | -    | build lint           | clang: app.cgi virtual_router/all     |
mipsel          | cpu  | -    | build source cases mipsel | mipsel: app.cgi $around; release: launch double_shell | tests/run_cases --target mipsel --first-row --sample 4
mipsel-words    | cpu  | -    | build source cases mipsel | mipsel: app.cgi $around; release: launch double_shell | tests/run_cases --target mipsel --filter gateway/intake --filter gateway/message --filter reportCount --filter up-time --filter ulimit
mipsel-binary   | cpu  | -    | build source python mipsel | mipsel: app.cgi                       | tests/structure/check_binary build/mipsel 128
mipsel-shared   | cpu  | -    | build source python mipsel | mipsel-shared: app.cgi                | tests/structure/check_binary build/mipsel-shared 96
mipsel-sbom     | cpu  | -    | build source git python mipsel | mipsel: app.cgi                       | tests/structure/check_sbom build/mipsel
mipsel-again    | cpu  | -    | build source mipsel  | mipsel: app.cgi                       | tests/structure/check_reproducible mipsel
mipsel-hardened | cpu  | -    | build source cases mipsel | mipsel-hardened: app.cgi $around; release: launch double_shell | tests/run_cases --hardened --target mipsel --first-row --sample 8
armhf-hardened  | cpu  | -    | build source python armhf | armhf-hardened: app.cgi               | tests/structure/check_binary build/armhf-hardened
packaging       | cpu  | -    | build source         |                                       | packaging/check
make-release    | cpu  | -    | build git python     |                                       | tests/release/run
machine         | cpu  | -    | build source python mipsel-24kc machine |                           | script/machine
machine-commands | cpu | -    | build source python mipsel-24kc machine |                           | tests/machine/commands
armhf           | cpu  | -    | build source cases armhf | armhf: app.cgi $around; release: launch double_shell | tests/run_cases --target armhf --first-row --sample 8
store           | wait | -    | build                | release: store_tests                  | build/release/store_tests --gtest_brief=1
deb             | wait | -    | build router home python git source | release: app.cgi app.scgi virtual_router/all | tests/deb/run
resident        | wait | -    | build router python  | release: app.scgi app.cgi app-relay.cgi slow_store arpcheck | tests/resident/run
firmware-check  | wait | -    | build router home cases | release: firmware-check virtual_router/all app.cgi | tests/firmware/run
keeper          | wait | -    | router               |                                       | tests/keeper/run
homes           | wait | -    | home                 |                                       | tests/home/run
journal         | wait | -    | build router cases   | release: app.cgi app.scgi virtual_router/all tests/runner/all | tests/journal/run
bench           | wait | -    | build router valgrind | release: app.cgi apmib arpcheck driver flash bench_floor bench_bare bench_driver | script/bench --quick
e2e             | wait | -    | build router home    | release: app.cgi virtual_router/all   | tests/e2e/run
e2e-resident    | wait | -    | build router home    | release: app.cgi app.scgi virtual_router/all | tests/e2e/run --way no-namespaces --resident --story requests
scenarios       | wait | -    | build router home    | release: app.cgi virtual_router/all   | script/router scenario --start virtual_router/scenarios/*.toml
control         | wait | -    | build router home cases | release: app.cgi virtual_router/all tests/runner/all | tests/control/run
console         | wait | -    | build router home cases browser | release: app.cgi virtual_router/all tests/runner/all | tests/console/run
contract-clients | wait | -   | build router home contract clients browser | release: app.cgi virtual_router/all   | contract/clients/run
contract-fixtures | wait | -  | build router home contract | release: app.cgi virtual_router/all   | contract/tool/capture.py --check
contract-broken | wait | -    | build router home contract | release: app.cgi virtual_router/all   | contract/tool/broken.py
routers         | wait | -    | build router home    | release: app.cgi virtual_router/all   | bench/routers 3
docs            | wait | -    | build router home    | release: app.cgi virtual_router/all   | tests/docs/run
ROWS
}

# The same for one device build, of which all cases are run, if it can be run. The unit tests need a C++ library, which those for
# old routers lack.
target_suites() {
    local target=$1 cases group=$1 around='double_apmib double_arpcheck double_interfaces' beside='launch double_shell'
    case $target in
    x86-64) cases='--binary build/x86-64/app.cgi --tools build/release/tests/runner' group='' around='' beside=tests/runner/all ;;
    *-hardened) cases="--hardened --target ${target%-hardened}" group=${target%-hardened} ;;
    musl | *-shared | *-clang) cases='' ;;
    *) cases="--target $target" ;;
    esac
    [ -z "$cases" ] || cat <<ROWS
$target         | cpu  | -    | build source cases $group | $target: app.cgi $around; release: $beside | tests/run_cases $cases
ROWS
    case $target in
    x86-64 | *-24kc | armv* | *-hardened | musl | *-shared | *-clang) ;;
    *) cat <<ROWS ;;
$target-unit    | cpu  | -    | build source $target  | $target: unit_tests                   | tests/unit/run_emulated $target
ROWS
    esac
    case $target in
    *-24kc | armv* | musl) ;;
    *) cat <<ROWS ;;
$target-binary  | cpu  | -    | build source python $group | $target: app.cgi                      | tests/structure/check_binary build/$target $(budget_of "$target")
ROWS
    esac
}

# budget_of TARGET: the KiB that app.cgi may have there, where it is held to some.
budget_of() {
    case $1 in
    mipsel) echo 128 ;;
    mipsel-shared) echo 96 ;;
    esac
}

# field NUMBER: that column of the rows that are read, without the blanks around it.
field() {
    awk -F '|' -v number="$1" '{ gsub(/^ +| +$/, "", $number); print $number }'
}

# rows_where NUMBER VALUE...: those of the rows that are read whose column has one of the values.
rows_where() {
    awk -F '|' -v wanted=" ${*:2} " -v number="$1" '{ value = $number; gsub(/ /, "", value) } index(wanted, " " value " ")'
}

# builds_of: lines "PRESET TARGET...", each preset once and the release first, of what the rows that are read need.
builds_of() {
    field 5 | tr ';' '\n' | awk -F ':' '
        NF > 1 {
            preset = $1
            gsub(/ /, "", preset)
            if (!(preset in targets)) presets[++count] = preset
            targets[preset] = targets[preset] $2
        }
        END {
            for (i = 1; i <= count; ++i) {
                words = split(targets[presets[i]], word, " ")
                line = presets[i]
                delete seen
                for (j = 1; j <= words; ++j) if (!seen[word[j]]++) line = line " " word[j]
                if (presets[i] == "release") print line; else rest = rest line "\n"
            }
            printf "%s", rest
        }'
}

# build PRESET TARGET...: configures when needed and builds. Without a target it configures, so that new files are known.
build() {
    local preset=$1
    shift
    if [ $# -eq 0 ] || [ ! -f "build/$preset/build.ninja" ]; then
        cmake --preset "$preset" || return
    fi
    [ $# -eq 0 ] || cmake --build --preset "$preset" --target "$@"
}

# count LOG STATUS: prints "passed failed skipped", by what a suite said of itself.
count() {
    local log=$1 status=$2 line passed='' failed=0
    line=$(grep -aE '^([[:alnum:]-]+: )?[0-9]+ passed, [0-9]+ failed' "$log" | tail -n 1) || true
    if [[ $line =~ ([0-9]+)\ passed,\ ([0-9]+)\ failed ]]; then
        passed=${BASH_REMATCH[1]}
        failed=${BASH_REMATCH[2]}
    elif [ "$status" -eq 0 ]; then
        passed=$(sed -nE 's/^\[  PASSED  \] ([0-9]+) tests?\.$/\1/p' "$log")
        passed=${passed:-1}
    fi
    if [ "$status" -ne 0 ] && [ "$failed" -eq 0 ]; then
        failed=1 # it ended badly and did not say why
    fi
    echo "${passed:-0} $failed 0"
}

# run NAME COMMAND...: runs a step; one line says how it went, how long it took and how much processor time that was. Its
# output is kept in $logs/NAME, and shown when it fails.
run() {
    local name=$1 log=$logs/$1 status=0 wall user system TIMEFORMAT='%R %U %S'
    shift
    (time "$@" >"$log" 2>&1 </dev/null) 2>"$log.time" || status=$? # a shell of its own counts no other lane
    read -r wall user system < <(tail -n 1 "$log.time")
    if [ "$status" -eq 77 ]; then
        echo "skipped $name: $(tail -n 1 "$log")"
        echo "0 0 1" >"$log.count"
        return
    fi
    printf '%-7s %-20s %6.1f s %6.1f s cpu   %s\n' "$([ "$status" -eq 0 ] && echo ok || echo FAILED)" "$name" "$wall" \
        "$(awk "BEGIN { print $user + $system }")" "$(tail -n 1 "$log")"
    if [ "$status" -ne 0 ]; then
        # Where a suite says which of its steps failed, that is worth more than how it went on.
        if grep -aq '^FAILED' "$log"; then
            grep -a -A 30 '^FAILED' "$log" | head -n 200
            echo "... and at its end:"
            tail -n 20 "$log"
        else
            tail -n 200 "$log"
        fi
    fi
    count "$log" "$status" >"$log.count"
}

# run_builds: builds what is read, lines of builds_of.
run_builds() {
    local preset targets
    while read -r preset targets; do
        [ -n "$preset" ] || continue # an empty list is an empty line
        # shellcheck disable=SC2086  # the targets of the table are words
        run "build-$preset" build "$preset" $targets
    done
}

# run_suites: runs the rows that are read, one after the other.
run_suites() {
    local row command
    while read -r row; do
        command=$(field 6 <<<"$row")
        if [ -n "$command" ]; then
            # shellcheck disable=SC2086  # a command of the table is words
            run "$(field 1 <<<"$row")" $command
        fi
    done
}

# begin FOLDER: where the logs of what is run are kept, none of an earlier run among them.
begin() {
    logs=$1
    rm -rf "$logs"
    mkdir -p "$logs"
}

# total: the last line, and the exit status: 1 when something failed.
total() {
    local sums
    read -r -a sums < <(cat "$logs"/*.count 2>/dev/null | awk '{ for (i = 1; i <= 3; ++i) sum[i] += $i } END { print sum[1] + 0, sum[2] + 0, sum[3] + 0 }')
    echo "${sums[0]} passed, ${sums[1]} failed$([ "${sums[2]}" -eq 0 ] || echo ", ${sums[2]} skipped")"
    return $((sums[1] > 0))
}
