#!/bin/bash
# What scripts/limits writes into its page: all cases with the day and the machine, or nothing when it was asked for some of them only, and when one of
# them failed or was skipped. A stand-in of the test program has two cases, and a third one that gives no row. It takes no memory.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

mkdir -p "$scratch"/project/{scripts,docs} "$scratch/build/tests"
cp "$ZT_SOURCE_DIR"/scripts/{limits,pages.py} "$scratch/project/scripts"
page=$scratch/project/docs/limits.md

program() {  # how the second case ends
  cat >"$scratch/build/tests/tests-limits" <<END_OF_PROGRAM
#!/bin/bash
case \$1 in
  --gtest_list_tests) printf 'Suite.\n  First\n  Second\n  WithoutARow\n' ;;
  *Second)
    printf 'Second\t12345 keys\t0.5\tworks\n' >"\$ZT_LIMITS_REPORT"
    $1
    ;;
  *First) printf 'First\t12345 keys\t0.5\tworks\n' >"\$ZT_LIMITS_REPORT" ;;
esac
END_OF_PROGRAM
  chmod +x "$scratch/build/tests/tests-limits"
}

former_page() {
  printf 'Before.\n<!-- results of scripts/limits -->\n1970-01-01, a machine.\n\n| case |\n|---|\n| First | formerly |\n<!-- end of results -->\nAfter.\n'
}

measure() {  # filters...
  former_page >"$page"
  ZT_LIMITS_MEMORY=0 PYTHONDONTWRITEBYTECODE=1 "$scratch/project/scripts/limits" --build "$scratch/build" "$@" >"$scratch/said" 2>&1
}

program true
measure '*First' || fail "$(cat "$scratch/said")"
[ "$(cat "$page")" = "$(former_page)" ] || fail "some cases change the page: $(cat "$page")"
grep -q '^| First | 12,345 keys | 0.50 | .* works |$' "$scratch/said" || fail "said: $(cat "$scratch/said")"
! grep -q Second "$scratch/said" || fail "a case that was not asked for: $(cat "$scratch/said")"

today=$(date +%F)
measure || fail "$(cat "$scratch/said")"
[[ $(sed -n 3p "$page") == "$today, "*" processors, "*. ]] || [ "$(date +%F)" != "$today" ] || fail "no day and machine: $(cat "$page")"
! grep -q formerly "$page" || fail "former rows: $(cat "$page")"
[ "$(grep -c '^| \(First\|Second\) | 12,345 keys | 0.50 | [0-9]* | works |$' "$page")" = 2 ] || fail "rows: $(cat "$page")"
[ "$(grep -c '^| ' "$page")" = 3 ] || fail "more rows: $(cat "$page")"
[ "$(head -n 1 "$page")$(tail -n 1 "$page")" = Before.After. ] || fail "the text around: $(cat "$page")"

expect_former_page() {  # how the second case ends, what is said of it
  program "$1"
  if measure; then fail "$1 is a success: $(cat "$scratch/said")"; fi
  [ "$(cat "$page")" = "$(former_page)" ] || fail "$1 changes the page: $(cat "$page")"
  grep -q "^limits: Suite.Second $2$" "$scratch/said" || fail "of $1 it says: $(cat "$scratch/said")"
}

expect_former_page 'exit 1' FAILED
expect_former_page 'kill -9 $$' 'ended by signal 9'
expect_former_page 'echo "[  SKIPPED ] 1 test."' 'was skipped'

program true
if ZT_LIMITS_MEMORY=1000000 "$scratch/project/scripts/limits" --build "$scratch/build" >"$scratch/said" 2>&1; then fail "memory that there is not"; fi
grep -q '1000000 are needed' "$scratch/said" || fail "without memory it says: $(cat "$scratch/said")"
