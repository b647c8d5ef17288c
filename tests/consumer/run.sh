#!/usr/bin/env bash
# Installs the library, shared and static, and uses each package from outside the tree: every
# installed header compiles by itself, and the program beside this script is built through CMake
# and through pkg-config, and runs.
. "$(dirname "$0")/../../script/common.sh"

work=$PWD/build/consumer
rm -rf "$work"
mkdir -p "$work"

# check KIND PREFIX
check() {
  local kind=$1 prefix=$2 here=$work/$1
  say "consumer: $kind"
  # Moved after it was installed: nothing in the package may hold an absolute path.
  mv "$prefix" "$prefix-moved"
  prefix=$prefix-moved

  # The headers are the same in both.
  [ "$kind" != shared ] ||
    find "$prefix/include/kandrel" -name '*.h' -print0 | xargs -0 -r -n 4 -P "$jobs" sh -c '
      for header in "$@"; do
        clang++ -std=c++20 -x c++ -fsyntax-only -Wno-pragma-once-outside-header -I"$0" "$header" || exit 255
      done' "$prefix/include"

  cmake -S tests/consumer -B "$here/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$here/build"
  "$here/build/consumer"

  export PKG_CONFIG_PATH
  PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kandrel.pc)")
  # shellcheck disable=SC2046  # the flags are words
  g++ -std=c++20 tests/consumer/main.cpp $(pkg-config --cflags --libs --static kandrel) -o "$here/by_pkg_config"
  LD_LIBRARY_PATH=$(pkg-config --variable=libdir kandrel) "$here/by_pkg_config"

  if [ "$kind" = shared ]; then
    readelf -d "$here/by_pkg_config" | grep -q 'NEEDED.*libkandrel\.so\.[0-9]' ||
      fail "the program does not ask for the library by its soname"
  fi
}

build release
cmake --install build/release --prefix "$work/shared/prefix" >/dev/null
check shared "$work/shared/prefix"

# What is proved here is the package, so the static library is built the quick way.
cmake -S . -B build/static -G Ninja -DBUILD_SHARED_LIBS=OFF -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DKANDREL_PRECOMPILE=ON -DKANDREL_BUILD_APP=OFF -DKANDREL_BUILD_TESTS=OFF >/dev/null
cmake --build build/static -j "$jobs"
cmake --install build/static --prefix "$work/static/prefix" >/dev/null
check static "$work/static/prefix"
