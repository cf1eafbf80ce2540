#!/bin/bash
# What scripts/fuzz begins with, keeps and accounts for: with a seed each run begins as the first did, and is no new work. A stand-in of a fuzz target
# notes what it is given.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

mkdir -p "$scratch"/project/{scripts,fuzz/corpus/Thing,build/fuzz} "$scratch/temporary"
cp "$ZT_SOURCE_DIR/scripts/fuzz" "$scratch/project/scripts"
cd "$scratch/project"
touch fuzz/ThingFuzzer.cpp fuzz/corpus/Thing/committed

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

# Each comes after those that kept something.
[ "$(given)" = "committed " ] || fail "the first run is given $(cat "$scratch/notes")"
[ "$(given)" = "committed new " ] || fail "the second run is given $(cat "$scratch/notes")"
for run in first second; do
  [ "$(given --seed 1)" = "committed " ] || fail "the $run run with a seed is given $(cat "$scratch/notes")"
done
[ -z "$(ls "$scratch/temporary")" ] || fail "a run with a seed leaves something behind"
[ "$(given)" = "committed new new " ] || fail "inputs of a run with a seed are kept, or those of others are not: $(cat "$scratch/notes")"
[ "$(cat "$scratch/said")" = "fuzz-Thing: 7 inputs without a fault" ] || fail "said: $(cat "$scratch/said")"
[ "$(wc -l <build/fuzz-inputs/account)" = 3 ] || fail "the account has $(cat build/fuzz-inputs/account)"
