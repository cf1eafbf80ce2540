#!/bin/bash
# Makes the Debian packages and installs them on this very system, as seen from inside a private mount namespace: everything that dpkg
# writes goes to a layer over the system that vanishes with the namespace. There the tool must run, a program must build
# against the library, gdb must find its script, and removing the packages must leave nothing.
set -eu

skip() {
  echo "$*"
  exit 77
}

fail() {
  echo "$*"
  exit 1
}

# --- Inside the namespace, as root of the layered system

if [ "${1:-}" = inside ]; then
  export DEBIAN_FRONTEND=noninteractive PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root
  cd /scratch || exit 1
  # Without the triggers of others, such as the index of all man pages.
  dpkg --no-triggers -i ./*.deb >dpkg.log 2>&1 || fail "$(cat dpkg.log)"

  man_page=$(dpkg -L ztplist | grep '/man1/ztplist\.1\.gz$') || fail "there is no compressed man page"
  [ -f "$man_page" ] || fail "the man page is not there"
  printf '{ Name = Alice; }' >settings.plist
  [ "$(ztplist get Name settings.plist)" = Alice ] || fail "ztplist does not run"

  # shellcheck disable=SC2046
  g++ -std=c++20 -g example.cpp $(pkg-config --cflags --libs ZtFoundation) -o example || fail "the example does not build"
  ./example >printed
  [ -s printed ] || fail "the example prints nothing"

  if command -v gdb >/dev/null; then
    PYTHONDONTWRITEBYTECODE=1 gdb -nx -batch -ex 'break main' -ex run -ex 'info auto-load python-scripts' ./example >gdb.log 2>&1 || true
    grep -q 'Yes .*libZtFoundation\.so.*-gdb\.py' gdb.log || grep -q ptrace gdb.log || fail "$(cat gdb.log)"
  fi

  dpkg --no-triggers -P ztplist libztfoundation-dev libztfoundation1 >dpkg.log 2>&1 || fail "$(cat dpkg.log)"
  exit
fi

# --- In the namespace: a layer over the system

if [ "${1:-}" = namespace ]; then
  scratch=$2
  mount -t tmpfs -o mode=755 tmpfs "$scratch/layer" || exit 77
  mkdir "$scratch"/layer/{upper,work,system}
  mount -t overlay -o "lowerdir=/,upperdir=$scratch/layer/upper,workdir=$scratch/layer/work" overlay \
    "$scratch/layer/system" || exit 77
  system=$scratch/layer/system
  mkdir "$system/scratch"
  cp -r "$scratch"/content/. "$system/scratch"
  for folder in dev proc; do mount --rbind "/$folder" "$system/$folder" || exit 77; done
  chroot "$system" /scratch/DebianPackages.sh inside || exit 1

  # What is new or changed, but for what dpkg and the loader keep about all packages.
  cd "$scratch/layer/upper"
  find . -mindepth 1 \( -path ./scratch -o -path ./var/lib/dpkg -o -path ./var/cache/ldconfig -o -path ./var/log/dpkg.log \
    -o -path ./etc/ld.so.cache -o -path ./root -o -path ./tmp \) -prune -o -print |
    while read -r path; do
      [ -d "$path" ] && [ -d "/$path" ] || echo "left: $path"
    done >"$scratch/left"
  [ ! -s "$scratch/left" ] || fail "$(cat "$scratch/left")"
  exit
fi

# --- The test

for tool in cpack dpkg dpkg-deb dpkg-shlibdeps unshare; do
  command -v "$tool" >/dev/null || skip "there is no $tool"
done
[ "$(id -u)" = 0 ] || skip "only root can lay a system of its own over this one"
! grep -q '^ZT_SANITIZE:STRING=.' "$ZT_BUILD_DIR/CMakeCache.txt" || skip "no packages are made of a build with sanitizers"
[ -e "$ZT_BUILD_DIR/bin/ztplist" ] || skip "this build has no tools"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/layer" "$scratch/content"
(umask 077 && cd "$ZT_BUILD_DIR" && cpack -G DEB -B "$scratch/packages" >"$scratch/cpack.log" 2>&1) || fail "$(cat "$scratch/cpack.log")"
! grep -i warning "$scratch/cpack.log" || fail "cpack warns"

runtime=$(echo "$scratch"/packages/libztfoundation1_*.deb)
tool=$(echo "$scratch"/packages/ztplist_*.deb)
development=$(echo "$scratch"/packages/libztfoundation-dev_*.deb)
version=$(dpkg-deb -f "$runtime" Version)
depends=$(dpkg-deb -f "$runtime" Depends)
for library in libc6 libstdc++6 libicu; do
  [[ $depends = *"$library"* ]] || fail "the library's package does not depend on $library: $depends"
done
[ "$(dpkg-deb -f "$development" Depends)" = "libztfoundation1 (= $version)" ] || fail "the two packages may differ in version"
[[ $(dpkg-deb -f "$tool" Depends) = *"libztfoundation1 (>= $version)"* ]] || fail "the tool would come without its library"
[[ $(dpkg-deb -I "$runtime" shlibs) = "libZtFoundation 1 libztfoundation1 "* ]] || fail "other packages learn no dependency from it"
for package in "$runtime" "$tool" "$development"; do
  closed=$(dpkg-deb -c "$package" | grep -v -e '^drwxr-xr-x root/root' -e '^-rw[x-]r-[x-]r-[x-] root/root' -e '^lrwxrwxrwx root/root') || true
  [ -z "$closed" ] || fail "closed to others: $closed"
  changelog=$scratch/changelog.gz
  dpkg-deb --fsys-tarfile "$package" | tar -xO "./usr/share/doc/$(dpkg-deb -f "$package" Package)/changelog.Debian.gz" >"$changelog"
  [ "$(gzip -dc "$changelog" | dpkg-parsechangelog -l- -S Version)" = "$version" ] || fail "the changelog is of another version"
  [ "$(od -An -tx1 -j3 -N5 "$changelog")" = " 00 00 00 00 00" ] || fail "the changelog tells when it was compressed"
done

cp "$runtime" "$development" "$tool" "$0" "$scratch/content"
sed -n '/^```cpp$/,/^```$/p' "$ZT_SOURCE_DIR/README.md" | sed '/^```/d' >"$scratch/content/example.cpp"
unshare --mount true 2>/dev/null || skip "there may be no private mounts here"
unshare --mount --propagation private "$0" namespace "$scratch"
