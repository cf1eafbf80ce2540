#!/bin/bash
# What scripts/limits writes into its page: all cases with the day and the machine, or nothing when it was asked for some of them only. A stand-in of the
# test program has two cases.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

mkdir -p "$scratch"/project/{scripts,docs} "$scratch/build/tests"
cp "$ZT_SOURCE_DIR"/scripts/{limits,pages.py} "$scratch/project/scripts"
page=$scratch/project/docs/limits.md

cat >"$scratch/build/tests/tests-limits" <<'END_OF_PROGRAM'
#!/bin/bash
case $1 in
  --gtest_list_tests) printf 'Suite.\n  First\n  Second\n' ;;
  *) printf '%s\t12345 keys\t0.5\tworks\n' "${1#*.}" >"$ZT_LIMITS_REPORT" ;;
esac
END_OF_PROGRAM
chmod +x "$scratch/build/tests/tests-limits"

former_page() {
  printf 'Before.\n<!-- results of scripts/limits -->\n1970-01-01, a machine.\n\n| case |\n|---|\n| First | formerly |\n<!-- end of results -->\nAfter.\n'
}

measure() {  # filters...
  former_page >"$page"
  PYTHONDONTWRITEBYTECODE=1 "$scratch/project/scripts/limits" --build "$scratch/build" "$@" >"$scratch/said" 2>&1 && return
  grep -q 'GiB of memory are free' "$scratch/said" || fail "$(cat "$scratch/said")"
  cat "$scratch/said"
  exit 77
}

measure '*First'
[ "$(cat "$page")" = "$(former_page)" ] || fail "some cases change the page: $(cat "$page")"
grep -q '^| First | 12,345 keys | 0.50 | .* works |$' "$scratch/said" || fail "said: $(cat "$scratch/said")"
! grep -q Second "$scratch/said" || fail "a case that was not asked for: $(cat "$scratch/said")"

today=$(date +%F)
measure
[[ $(sed -n 3p "$page") == "$today, "*" processors, "*. ]] || [ "$(date +%F)" != "$today" ] || fail "no day and machine: $(cat "$page")"
! grep -q formerly "$page" || fail "former rows: $(cat "$page")"
[ "$(grep -c '^| \(First\|Second\) | 12,345 keys | 0.50 | [0-9]* | works |$' "$page")" = 2 ] || fail "rows: $(cat "$page")"
[ "$(head -n 1 "$page")$(tail -n 1 "$page")" = Before.After. ] || fail "the text around: $(cat "$page")"
