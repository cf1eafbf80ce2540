#!/bin/bash
# What scripts/fuzz begins with, keeps and accounts for: with a seed each run begins as the first did, and is no new work. A stand-in of a fuzz target
# notes what it is given.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

mkdir -p "$scratch"/project/{scripts,fuzz/corpus/Thing,build/fuzz} "$scratch/temporary"
cp "$ZT_SOURCE_DIR/scripts/fuzz" "$scratch/project/scripts"
cd "$scratch/project"
mkdir docs
echo '// Things that are read.' >fuzz/ThingFuzzer.cpp
touch fuzz/corpus/Thing/committed
printf 'Before.\n<!-- the account -->\nformerly\n<!-- end of the account -->\nAfter.\n' >docs/fuzzing.md
cp docs/fuzzing.md former-page

cat >build/fuzz/fuzz-Thing <<'END'
#!/bin/bash
folders=()
for argument in "$@"; do
  [[ $argument = -* ]] || folders+=("$argument")
done
find "${folders[@]}" -type f -printf '%f ' | sort >"$NOTES"
touch "${folders[0]}/new-$$"
echo "stat::number_of_executed_units: 7"
END
chmod +x build/fuzz/fuzz-Thing

given() {  # options...
  NOTES=$scratch/notes TMPDIR=$scratch/temporary scripts/fuzz --build build "$@" 1 Thing >"$scratch/said" || fail "$(cat "$scratch/said")"
  tr ' ' '\n' <"$scratch/notes" | sed '/^$/d; s/-.*//' | sort | tr '\n' ' '
}

expect_page() {  # minutes, inputs
  [ "$(sed -n 7p docs/fuzzing.md)" = "| Thing | Things that are read. | $1 | $2 | 0 |" ] || fail "the page has: $(cat docs/fuzzing.md)"
  [ "$(head -n 2 docs/fuzzing.md)" = "$(head -n 2 former-page)" ] && [ "$(tail -n +8 docs/fuzzing.md)" = "$(tail -n 2 former-page)" ] ||
    fail "the page around the table is: $(cat docs/fuzzing.md)"
}

if scripts/fuzz --page 2>"$scratch/said"; then fail "a page without an account"; fi
cmp -s docs/fuzzing.md former-page || fail "without an account the page becomes: $(cat docs/fuzzing.md)"
grep -q 'fuzz/account' "$scratch/said" || fail "without an account it says: $(cat "$scratch/said")"

given --seed 1 >"$scratch/ignored"
cmp -s docs/fuzzing.md former-page || fail "a run with a seed writes: $(cat docs/fuzzing.md)"

# Each comes after those that kept something.
[ "$(given)" = "committed " ] || fail "the first run is given $(cat "$scratch/notes")"
expect_page 0 7
[ "$(given)" = "committed new " ] || fail "the second run is given $(cat "$scratch/notes")"
expect_page 0 14
for run in first second; do
  [ "$(given --seed 1)" = "committed " ] || fail "the $run run with a seed is given $(cat "$scratch/notes")"
done
[ -z "$(ls "$scratch/temporary")" ] || fail "a run with a seed leaves something behind"
[ "$(given)" = "committed new new " ] || fail "inputs of a run with a seed are kept, or those of others are not: $(cat "$scratch/notes")"
[ "$(cat "$scratch/said")" = "fuzz-Thing: 7 inputs without a fault" ] || fail "said: $(cat "$scratch/said")"
[ "$(wc -l <fuzz/account)" = 3 ] || fail "the account has $(cat fuzz/account)"

scripts/fuzz --add Thing 120 1000
expect_page 0 21
scripts/fuzz --page
expect_page 2 1021

# What a run took counts when it finds something, too.
printf '#!/bin/bash\necho "stat::number_of_executed_units: 9"\nexit 77\n' >build/fuzz/fuzz-Thing
if scripts/fuzz --build build 1 Thing >"$scratch/said"; then fail "a find is no failure"; fi
grep -q 'fuzz-Thing FAILED' "$scratch/said" || fail "of a find it says: $(cat "$scratch/said")"
expect_page 2 1030
[ "$(find docs | wc -l)" = 2 ] || fail "docs has $(find docs)"
