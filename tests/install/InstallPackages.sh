#!/bin/bash
# Which packages scripts/install-packages finds missing. The list of what is installed is made up, and a stand-in of apt-get notes what it is asked for.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

command -v dpkg-query >/dev/null || { echo "this is no Debian system"; exit 77; }

mkdir "$scratch/dpkg" "$scratch/bin"
touch "$scratch/dpkg/available"

native=$(dpkg --print-architecture)
foreign=$([ "$native" = i386 ] && echo amd64 || echo i386)
entry() {  # package, architecture, status
  local several=same
  [ "$2" != all ] || several=foreign
  printf 'Package: %s\nStatus: %s\nArchitecture: %s\nMulti-Arch: %s\nVersion: 1\nMaintainer: Somebody\nDescription: a package\n\n' \
    "$1" "$3" "$2" $several >>"$scratch/dpkg/status"
}
there='install ok installed'
entry native "$native" "$there"
entry both "$native" "$there"
entry both "$foreign" "$there"
entry independent all "$there"
entry foreign "$foreign" "$there"
entry removed "$native" 'deinstall ok config-files'

cat >"$scratch/bin/apt-get" <<'END'
#!/bin/sh
echo "$@" >>"$CALLS"
END
cat >"$scratch/bin/sudo" <<'END'
#!/bin/sh
exec "$@"
END
chmod +x "$scratch"/bin/*

missing() {  # what is in the list
  printf '%s\n' "$@" >"$scratch/list"
  : >"$scratch/calls"
  CALLS=$scratch/calls DPKG_ADMINDIR=$scratch/dpkg PATH=$scratch/bin:$PATH "$ZT_SOURCE_DIR/scripts/install-packages" "$scratch/list" >/dev/null
  sed -n 's/.*install --no-install-recommends //p' "$scratch/calls"
}

found=$(missing native both 'independent # for all processors')
[ -z "$found" ] || { echo "found missing, though they are there: $found"; exit 1; }
found=$(missing native both foreign removed unknown)
[ "$found" = "foreign removed unknown" ] || { echo "found missing: $found"; exit 1; }
