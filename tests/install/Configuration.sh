#!/bin/bash
# What configuring makes of the wishes of who builds: folders of the installation, flags, a ccache that cannot work. Nothing is built.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$ZT_BUILD_DIR/CMakeCache.txt")
failed=0

configure() {  # name, options...
  local name=$1
  shift
  env -u CMAKE_CXX_COMPILER_LAUNCHER cmake -G Ninja -S "$ZT_SOURCE_DIR" -B "$scratch/$name" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Release -DZT_BUILD_TESTS=OFF -DZT_BUILD_FUZZERS=OFF "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
  ninja -C "$scratch/$name" -t commands bin/ztplist |
    grep -e 'tools/ztplist/Main\.cpp$' -e '-o bin/ztplist' >"$scratch/$name.commands"
}

expect() {  # name, what must be among its commands
  grep -qF -e "$2" "$scratch/$1.commands" || { echo "$1: no $2 in:"; cat "$scratch/$1.commands"; failed=1; }
}

expect_none() {  # name, what must not be among its commands
  ! grep -F -e "$2" "$scratch/$1.commands" || { echo "$1: the commands have $2"; failed=1; }
}

export CCACHE_DIR=$scratch/ccache
configure plain -DCMAKE_INSTALL_LIBDIR=lib
expect plain " -O2 -DNDEBUG "
expect plain 'rpath,"\$ORIGIN/../lib" '
if command -v ccache >/dev/null; then expect plain ccache; fi

export CCACHE_DIR=/dev/null/ccache
configure wishes -DCMAKE_INSTALL_PREFIX=/opt/zt -DCMAKE_INSTALL_BINDIR=libexec/tools -DCMAKE_INSTALL_LIBDIR=/srv/lib \
  -DCMAKE_CXX_FLAGS_RELEASE="-O1 -g1"
expect wishes " -O1 -g1 "
expect_none wishes " -O2 "
expect wishes 'rpath,"\$ORIGIN/../../../../srv/lib:\$ORIGIN/../lib" '
expect_none wishes ccache

exit $failed
