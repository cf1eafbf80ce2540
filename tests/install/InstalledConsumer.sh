#!/bin/bash
# Installs the library into a scratch folder, moves it, and builds the README's example against it as another project
# would: once found by CMake, once by pkg-config. Both programs must run and print the same. Everybody may use what is installed.
set -eu
. "$ZT_SOURCE_DIR/tests/support/scratch.sh"

if grep -q '^ZT_SANITIZE:STRING=.' "$ZT_BUILD_DIR/CMakeCache.txt"; then
  echo "a program without sanitizers cannot link this build"
  exit 77
fi

cd "$scratch"

(umask 077 && cmake --install "$ZT_BUILD_DIR" --prefix "$scratch/installed" >install.log) || { cat install.log; exit 1; }
closed=$(find installed -mindepth 1 ! -type l ! -perm -a=r -o -mindepth 1 -type d ! -perm -a=x)
[ -z "$closed" ] || { echo "closed to others: $closed"; exit 1; }
mv installed moved
prefix=$scratch/moved

sed -n '/^```cpp$/,/^```$/p' "$ZT_SOURCE_DIR/README.md" | sed '/^```/d' >example.cpp
[ -s example.cpp ] || { echo "the README has no example"; exit 1; }

cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(ZtFoundation 1.0 REQUIRED)
add_executable(example example.cpp)
target_link_libraries(example PRIVATE ZtFoundation::ZtFoundation)
END
{ cmake -G Ninja -S . -B build -DCMAKE_PREFIX_PATH="$prefix" && cmake --build build; } >cmake.log || { cat cmake.log; exit 1; }

folder=$(dirname "$(find "$prefix" -name ZtFoundation.pc)")
flags=$(PKG_CONFIG_PATH=$folder pkg-config --cflags --libs ZtFoundation)
# shellcheck disable=SC2086
"${CXX:-g++}" -std=c++20 example.cpp $flags -Wl,-rpath,"${folder%/pkgconfig}" -o example

mkdir one two
(cd one && ../build/example) >found-by-cmake
(cd two && ../example) >found-by-pkg-config
[ -s found-by-cmake ] || { echo "the example prints nothing"; exit 1; }
cmp found-by-cmake found-by-pkg-config
