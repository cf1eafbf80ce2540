#!/bin/bash
# Builds an application package with the library inside, as another project would from the installed library, then takes
# that library away, moves the package and runs it: program, library and modules must find each other inside the package.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

if grep -q '^ZT_SANITIZE:STRING=.' "$ZT_BUILD_DIR/CMakeCache.txt"; then
  echo "a program without sanitizers cannot link this build"
  exit 77
fi
[ -e "$ZT_BUILD_DIR/lib/libZtFoundationUnicode.so" ] || { echo "there is no Unicode module to find"; exit 77; }
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$ZT_BUILD_DIR/CMakeCache.txt")
example=$ZT_SOURCE_DIR/examples/sorter.app

cd "$scratch" || exit 1

cmake --install "$ZT_BUILD_DIR" --prefix "$scratch/installed" >install.log || fail "$(cat install.log)"
modules=$(find "$scratch/installed" -name 'libZtFoundation[A-Z]*.so' -printf '%f ')
cp "$example/Main.cpp" "$example/Info.plist" .
cat >CMakeLists.txt <<'EOF'
cmake_minimum_required(VERSION 3.25)
project(Sorter LANGUAGES CXX)
find_package(ZtFoundation 1.0 REQUIRED)
add_executable(sorter Main.cpp)
set_target_properties(sorter PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/Sorter.app/Contents/Linux)
zt_embed_framework(sorter HEADERS)
configure_file(Info.plist ${PROJECT_BINARY_DIR}/Sorter.app/Contents/Info.plist COPYONLY)
EOF
{ cmake -G Ninja -S . -B build -DCMAKE_PREFIX_PATH="$scratch/installed" -DCMAKE_CXX_COMPILER="$compiler" &&
  cmake --build build; } >cmake.log || fail "$(cat cmake.log)"

framework=$scratch/build/Sorter.app/Contents/Frameworks/ZtFoundation.framework
module=$(find "$scratch/installed" -name libZtFoundationUnicode.so)
echo >>"$module"
cmake --build build >cmake.log || fail "$(cat cmake.log)"
cmp "$module" "$framework/Versions/A/libZtFoundationUnicode.so" || fail "the package keeps an old module"

# As zt_embed_framework runs it for a program in this folder.
embed() {  # folder
  cmake -D PROGRAM="$scratch/$1/program" -D LOCK="$scratch/lock" -D LIBRARY="${module/Unicode/}" -D SONAME=libZtFoundation.so.1 \
    -D MODULES="$module" -D HEADERS= -P "$(find "$scratch/installed" -name ZtEmbedFramework.cmake)" 2>&1
}

mkdir -p sources/build sources/Frameworks/ZtFoundation.framework
touch sources/Frameworks/ZtFoundation.framework/precious
! said=$(embed sources/build) || fail "a program outside of a package gets the library beside it"
said=$(tr -s '[:space:]' ' ' <<<"$said")
[[ $said = *"sources/build/program does not lie"* ]] || fail "the refusal says: $said"
[ -e sources/Frameworks/ZtFoundation.framework/precious ] || fail "what was beside the program's folder is gone"

# Programs of one package that are linked at the same time.
runs=()
for _ in {1..8}; do
  embed Several.app/Contents/Linux >>embed.log &
  runs+=($!)
done
for run in "${runs[@]}"; do wait "$run" || fail "$(cat embed.log)"; done

mkdir elsewhere
mv build/Sorter.app "elsewhere/My Sorter.app"
rm -r "$scratch/build" "$scratch/installed"
package=$scratch/elsewhere/My\ Sorter.app
framework=$package/Contents/Frameworks/ZtFoundation.framework
library=$framework/Versions/A/ZtFoundation

[ -f "$library" ] && [ ! -L "$library" ] || fail "the library is not in its place"
[ "$framework/ZtFoundation" -ef "$library" ] || fail "the framework's own link to the library leads elsewhere"
[ "$(readlink "$framework/Versions/Current")" = A ] || fail "the current version is not A"
for module in $modules; do [ -f "$framework/Versions/A/$module" ] || fail "the module $module is missing"; done
[ -f "$framework/Headers/PropertyLists.h" ] || fail "there are no headers"

sorted=$'Äpfel\napple\nfile 9\nfile 10\nZebra'
output=$(cd / && env -u LD_LIBRARY_PATH "$package/Contents/Linux/sorter")
[ "$output" = "com.example.sorter in $package"$'\n'"$sorted" ] || fail "printed: $output"

# Nothing of the library comes from outside.
loaded=$(cd / && LD_DEBUG=files "$package/Contents/Linux/sorter" 2>&1 >/dev/null |
  sed -n 's/.*calling init: \(.*ZtFoundation.*\)/\1/p')
[ "$(wc -l <<<"$loaded")" = 2 ] || fail "loaded: $loaded"
outside=$(grep -v "^$package/" <<<"$loaded" || true)
[ -z "$outside" ] || fail "loaded from outside: $outside"

# The module is that of the package: without it, names are no longer sorted so.
rm "$framework/Versions/A/libZtFoundationUnicode.so"
[ "$("$package/Contents/Linux/sorter" | tail -n +2)" != "$sorted" ] || fail "the Unicode module came from elsewhere"

# The example of this build is such a package too.
if [ -d "$ZT_BUILD_DIR/examples/sorter.app" ]; then
  cp -a "$ZT_BUILD_DIR/examples/sorter.app" elsewhere/copy.app
  [ "$(elsewhere/copy.app/Contents/Linux/sorter | tail -n +2)" = "$sorted" ] || fail "the copied example sorts otherwise"
fi
