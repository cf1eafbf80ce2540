#!/bin/bash
# What scripts/threads writes into its page: what passed and was skipped in all rounds, with the day, the machine and the compiler; nothing when anything
# failed. Stand-ins of cmake and ctest bring each case about, so nothing is built or run.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

mkdir -p "$scratch"/project/{scripts,docs} "$scratch/programs"
cp "$ZT_SOURCE_DIR"/scripts/{threads,pages.py} "$scratch/project/scripts"
page=$scratch/project/docs/threads.md

stand_in() {  # name; its commands come from standard input
  { echo '#!/bin/bash'; cat; } >"$scratch/programs/$1"
  chmod +x "$scratch/programs/$1"
}

stand_in compiler <<<'echo "a compiler 1.2"; echo "and more"'
stand_in cmake <<'END_OF_PROGRAM'
echo "cmake $*" >>"$CALLS"
mkdir -p build/tsan
echo "CMAKE_CXX_COMPILER:STRING=compiler" >build/tsan/CMakeCache.txt
[[ " $* " != *" $FAILING "* ]]
END_OF_PROGRAM
stand_in ctest <<'END_OF_PROGRAM'
echo "ctest $*" >>"$CALLS"
folder=${GTEST_OUTPUT#xml:}
mkdir -p "$folder"
passed='<testcase name="a" status="run" result="completed"/>' skipped='<testcase name="b" status="run" result="skipped"><skipped/></testcase>'
echo "<testsuites><testsuite>$passed$passed$skipped</testsuite></testsuites>" >"$folder/tests-some.xml"
echo "<testsuites><testsuite>$passed</testsuite></testsuites>" >"$folder/tests-other.xml"
[ "$(grep -c ^ctest "$CALLS")" != "$FAILING" ]
END_OF_PROGRAM

former_page() {
  printf 'Before.\n<!-- results of scripts/threads -->\nformerly\n<!-- end of results -->\nAfter.\n'
}

run() {  # what fails, arguments...
  former_page >"$page"
  : >"$scratch/calls"
  result=0
  PATH=$scratch/programs:$PATH PYTHONDONTWRITEBYTECODE=1 CALLS=$scratch/calls FAILING=$1 \
    "$scratch/project/scripts/threads" "${@:2}" >"$scratch/said" 2>&1 || result=$?
}

expect_no_results() {  # exit code, rounds that began
  [ "$result" = "$1" ] || fail "exit code $result: $(cat "$scratch/said")"
  [ "$(cat "$page")" = "$(former_page)" ] || fail "a failure changes the page: $(cat "$page")"
  [ "$(grep -c ^ctest "$scratch/calls" || true)" = "$2" ] || fail "rounds: $(cat "$scratch/calls")"
}

row() {  # number of a line
  sed -n "$1p" "$page"
}

today=$(date +%F)
run nothing
[ $result = 0 ] || fail "$(cat "$scratch/said")"
[[ $(row 3) == "$today, "*" processors, "*"; a compiler 1.2; each case once, "* ]] || [ "$(date +%F)" != "$today" ] || fail "$(cat "$page")"
[ "$(row 7),$(row 8),$(row 9)" = "| tests-other | 1 | 0 |,| tests-some | 2 | 1 |,| all | 3 | 1 |" ] || fail "rows: $(cat "$page")"
[ "$(row 1)$(row 11)" = Before.After. ] || fail "the text around: $(cat "$page")"
[ "$(head -n 2 "$scratch/calls" | tr '\n' ,)" = "cmake --preset tsan,cmake --build --preset tsan," ] || fail "calls: $(cat "$scratch/calls")"

run nothing 2
[[ $(row 3) == *"; each case 2 times, "* ]] || fail "$(cat "$page")"
[ "$(row 8),$(row 9)" = "| tests-some | 4 | 2 |,| all | 6 | 2 |" ] || fail "rows of two rounds: $(cat "$page")"

run --build
expect_no_results 1 0
run 1 3
expect_no_results 1 1
run 2 3
expect_no_results 1 2
run nothing 0
expect_no_results 2 0
