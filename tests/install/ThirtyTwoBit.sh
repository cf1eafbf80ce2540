#!/bin/bash
# What scripts/32-bit says, and by which exit code, where a machine cannot build for 32 bits, and how it tells of the tests. Stand-ins of the
# programs that it calls bring each case about, so nothing is installed, mounted or built.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

chmod 755 "$scratch"
failed=0

complain() {
  echo "$1: $2"
  failed=1
}

# --- A project and a machine that can

mkdir -p "$scratch/project/scripts" "$scratch/real" "$scratch/can"
cp "$ZT_SOURCE_DIR/scripts/32-bit" "$scratch/project/scripts"
printf '# comment\none # why\n\nclang\nllvm\ntwo\n' >"$scratch/project/packages.txt"
for tool in bash env true sed tr grep dirname realpath mkdir chmod rm cat head tail touch ln nproc; do
  ln -s "$(type -P $tool)" "$scratch/real/$tool"
done

stand_in() {  # folder, name; its commands come from standard input
  mkdir -p "$scratch/$1"
  { echo '#!/bin/bash'; cat; } >"$scratch/$1/$2"
  chmod +x "$scratch/$1/$2"
}

stand_in can uname <<<'echo x86_64'
stand_in can id <<<'echo 0'
stand_in can mount <<<'exit 0'
stand_in can setarch <<<'shift; [[ $1 == */probe ]] || exec "$@"'
stand_in can apt-get <<'END'
. /etc/os-release 2>/dev/null
echo "$VERSION_CODENAME http://mirror.example"
END
stand_in can unshare <<'END'
while [[ $1 == --* ]]; do [ "$1" = --propagation ] && shift; shift; done
exec "$@"
END
stand_in can debootstrap <<'END'
for folder in etc usr/sbin dev sys proc tmp; do mkdir -p "$4/$folder"; done
echo "$*" >>"$4/../made-by"
END
stand_in can chroot <<'END'
shift 3  # the system, env, -i
while [[ $1 == *=* ]]; do shift; done
echo "$*" >>"$CALLS"
case $1 in
  */count-tests) echo 3 0 1 ;;
esac
END

# --- Running it there, with the stand-ins of other folders before those

run() {  # folder of stand-ins, arguments...
  local path=$scratch/can:$scratch/real
  [ "$1" = can ] || path=$scratch/$1:$path
  shift
  result=0
  output=$(env -i PATH="$path" CALLS="$scratch/calls" "$scratch/project/scripts/32-bit" "$@" 2>&1 </dev/null) || result=$?
}

expect() {  # case, exit code, the last line of what was said
  local said
  said=$(tail -n 1 <<<"$output")
  [ "$result" = "$2" ] || complain "$1" "exit code $result"
  # shellcheck disable=SC2053
  [[ $said == $3 ]] || complain "$1" "said: $output"
}

cannot() {  # folder of stand-ins, message
  rm -rf "$scratch/project/build"
  run "$1"
  expect "$1" 77 "32-bit: $2"
}

stand_in processor uname <<<'echo aarch64'
cannot processor "this processor runs no 32-bit x86 programs"

stand_in user id <<<'echo 1000'
cannot user "only root can make and enter a system of another architecture"

stand_in container unshare <<<'exit 1'
cannot container "there may be no private mounts here"

stand_in kernel setarch <<<'echo "Exec format error" >&2; exit 126'
cannot kernel "no 32-bit program runs in $scratch/project/build/32-bit: the kernel cannot, or nothing may be run there"

stand_in other-system apt-get <<<'exit 127'
cannot other-system "this is no Debian system, so there is no mirror to take one from"

stand_in mirror debootstrap <<<'echo "E: Failed getting release file"; exit 1'
cannot mirror "debootstrap failed, see $scratch/project/build/32-bit/debootstrap.log: E: Failed getting release file"
[ ! -e "$scratch/project/build/32-bit/made" ] || complain mirror "a system that is not whole counts as made"

stand_in packages chroot <<'END'
[[ " $* " != *" install "* ]] || { echo "E: Unable to locate package two"; exit 100; }
END
cannot packages "the packages could not be installed, see $scratch/project/build/32-bit/packages.log: E: Unable to locate package two"
[ ! -e "$scratch/project/build/32-bit/packages" ] || complain packages "they count as installed"

stand_in broken chroot <<<'exit 1'
cannot broken "the system in $scratch/project/build/32-bit/system does not work; remove $scratch/project/build/32-bit to have it made anew"

rm -rf "$scratch/project/build"
mv "$scratch/can/debootstrap" "$scratch"
cannot can "there is no debootstrap in PATH: apt-get install debootstrap"
mv "$scratch/debootstrap" "$scratch/can"

# The same from somebody who really is not root, and by the system's own programs.
if [ "$(id -u)" = 0 ]; then as_somebody=(setpriv --reuid=65534 --regid=65534 --clear-groups); else as_somebody=(); fi
result=0
output=$("${as_somebody[@]}" "$scratch/project/scripts/32-bit" 2>&1) || result=$?
case $(uname -m) in
  x86_64 | i?86) expect somebody 77 "32-bit: only root can*" ;;
  *) expect somebody 77 "32-bit: this processor *" ;;
esac

# --- Where it can

rm -rf "$scratch/project/build" "$scratch/calls"
run can
expect "all well" 0 "3 passed, 0 failed, 1 skipped"
installed=$(grep ' install ' "$scratch/calls") || true
[[ $installed == *" one two" ]] || complain "all well" "installs: $installed"
build=$scratch/project/build/32-bit
[ "$(wc -l <"$build/made-by")" = 1 ] || complain "all well" "the system was made $(cat "$build/made-by")"
[[ $(cat "$build/made-by") == "--arch=i386 "* ]] || complain "all well" "made by $(cat "$build/made-by")"

rm "$scratch/calls"
run can
expect "again" 0 "3 passed, 0 failed, 1 skipped"
[ "$(wc -l <"$build/made-by")" = 1 ] || complain "again" "the system was made anew"
! grep -q apt-get "$scratch/calls" || complain "again" "packages were installed again"

rm "$scratch/calls"
run can --build-only
[ $result = 0 ] || complain "--build-only" "exit code $result"
! grep -q ctest "$scratch/calls" || complain "--build-only" "tests ran"

run can "$scratch/elsewhere/folder"
[ -e "$scratch/elsewhere/folder/made" ] || complain "a folder" "it is not used"

run can --unknown
expect "an unknown option" 2 "usage: *"

echo three >>"$scratch/project/packages.txt"
rm "$scratch/calls"
run can
grep -q 'install .*three' "$scratch/calls" || complain "a new package" "it was not installed"

stand_in test-fails chroot <<'END'
[[ " $* " != *" ctest "* ]] || exit 8
[[ " $* " != */count-tests* ]] || echo 2 1 1
END
run test-fails
expect "a test that fails" 1 "2 passed, 1 failed, 1 skipped"

stand_in build-fails chroot <<'END'
[[ " $* " != *" --build "* ]] || exit 2
[[ " $* " != *" ctest "* ]] || echo "tests run"
END
run build-fails
[ $result = 1 ] || complain "a build that fails" "exit code $result"
[[ $output != *"tests run"* ]] || complain "a build that fails" "tests ran"

exit $failed
