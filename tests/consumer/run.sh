#!/usr/bin/env bash
# Uses the library from outside the tree in each way that there is: installed, shared and static,
# through CMake and through pkg-config; as a folder of another project, named and fetched; and as
# Debian packages, which are installed into a root of their own and removed. The program beside this
# script is built and run each time. Besides: every installed header compiles by itself and declares
# nothing that the shared library keeps back, and that lets out nothing that isn't ours.
. "$(dirname "$0")/../../script/common.sh"

work=$PWD/build/consumer
mkdir -p "$work"
# All but the library that stands compiled as part of another project.
find "$work" -mindepth 1 -maxdepth 1 ! -name tree -exec rm -rf {} +

# by_cmake NAME OPTION...: the program through CMake, in a build folder NAME.
by_cmake() {
  local folder=$work/$1
  shift
  cmake -S tests/consumer -B "$folder" -G Ninja "$@" >/dev/null
  cmake --build "$folder" -j "$jobs"
  ctest --test-dir "$folder" --no-tests=error --output-on-failure --quiet
}

# by_pkg_config NAME PREFIX OPTION...: the program through pkg-config.
by_pkg_config() {
  local program=$work/$1
  export PKG_CONFIG_PATH
  PKG_CONFIG_PATH=$(dirname "$(find "$2" -name kandrel.pc)")
  shift 2
  # shellcheck disable=SC2046  # the flags are words
  g++ -std=c++20 tests/consumer/main.cpp $(pkg-config --cflags --libs "$@" kandrel) -Wl,-rpath,"$(pkg-config --variable=libdir kandrel)" -o "$program"
  "$program" "$(pkg-config --modversion kandrel)"
}

# move PREFIX: what was installed stands elsewhere now; nothing in it may hold an absolute path.
move() {
  mv "$1" "$1-moved"
  printf '%s\n' "$1-moved"
}

say "consumer: shared"
build release kandrel kandrel-post
library=build/release/kandrel/libkandrel.so
tests/consumer/alien_symbols.sh "$library" || fail "$library lets out what isn't ours"
! tests/consumer/alien_symbols.sh "$(g++ -print-file-name=libtinyxml2.so)" >/dev/null ||
  fail "alien_symbols.sh sees nothing"
cmake --install build/release --prefix "$work/shared-prefix" >/dev/null
prefix=$(move "$work/shared-prefix")
tests/consumer/unexported.sh build/release/kandrel "$prefix/include/kandrel" ||
  fail "installed headers declare what $library keeps back"
! tests/consumer/unexported.sh build/release/kandrel kandrel >/dev/null || fail "unexported.sh sees nothing"
find "$prefix/include/kandrel" -name '*.h' -print0 | xargs -0 -r -n 4 -P "$jobs" sh -c '
  for header in "$@"; do
    clang++ -std=c++20 -x c++ -fsyntax-only -Wno-pragma-once-outside-header -I"$0" "$header" || exit 255
  done' "$prefix/include"
by_cmake shared -DCMAKE_PREFIX_PATH="$prefix"
by_pkg_config shared/by_pkg_config "$prefix"
say "consumer: folders of libraries that a packager names"
# names_libdir LIBDIR PC RPATH: what kandrel.pc says of it, and the way to it from kandrel-post.
names_libdir() {
  rm -rf "$work/libdir"
  cmake -S . -B "$work/libdir" -G Ninja -DCMAKE_INSTALL_PREFIX=/opt/kandrel "-DCMAKE_INSTALL_LIBDIR=$1" \
    -DKANDREL_BUILD_TESTS=OFF -DKANDREL_BUILD_EXAMPLES=OFF -DKANDREL_REPORT=OFF >/dev/null
  grep -qxF "libdir=$2" "$work/libdir/kandrel.pc" || fail "kandrel.pc with libraries in $1"
  grep -qF "NEW_RPATH \"\\\$ORIGIN/$3\"" "$work/libdir/cmake_install.cmake" ||
    fail "the way from kandrel-post to libraries in $1"
}
# shellcheck disable=SC2016  # what stands in the file
names_libdir lib64 '${prefix}/lib64' ../lib64
names_libdir /opt/elsewhere/lib /opt/elsewhere/lib ../../elsewhere/lib
say "consumer: the program of the first guide, as its page has it"
mkdir -p "$work/host"
for file in examples/host/CMakeLists.txt examples/01_post_in_memory.cpp; do
  tests/examples/guide_code.sh docs/guides/first-posting.md $file >"$work/host/$(basename $file)"
done
mv "$work/host/01_post_in_memory.cpp" "$work/host/main.cpp"
cmake -S "$work/host" -B "$work/host/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/host/build"
[ "$("$work/host/build/host" | wc -l)" -eq 181 ] || fail "the guide's program prints other lines"
readelf -d "$work/shared/by_pkg_config" | grep -q 'NEEDED.*libkandrel\.so\.[0-9]' ||
  fail "the program does not ask for the library by its soname"
"$prefix/bin/kandrel-post" --version | grep -qx "kandrel-post $(pkg-config --modversion kandrel)"

# What is proved here is the package, so the library is compiled once, the quick way: what another
# project builds is also what is installed as the static package.
say "consumer: add_subdirectory"
by_cmake tree --preset tree -DKANDREL_FORM=add_subdirectory
say "consumer: FetchContent"
by_cmake tree --preset tree -DKANDREL_FORM=fetch_content

say "consumer: static"
cmake --install "$work/tree" --prefix "$work/static-prefix" >/dev/null
prefix=$(move "$work/static-prefix")
by_cmake static -DCMAKE_PREFIX_PATH="$prefix"
by_pkg_config static/by_pkg_config "$prefix" --static

say "consumer: Debian packages"
(cd build/release && cpack -G DEB -B "$work/deb") >"$work/cpack.log" ||
  { cat "$work/cpack.log" >&2; fail "no packages"; }
rm -rf "$work/deb/_CPack_Packages"
# A root that believes all packages of this machine to be there, so that dependencies are looked at.
# What the packages' scripts run, this machine's ldconfig, must not run.
root=$work/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$work/bin"
cp /var/lib/dpkg/status "$root/var/lib/dpkg/status"
ln -s /bin/true "$work/bin/ldconfig"
dpkg_root() {
  PATH=$work/bin:$PATH dpkg --root="$root" --force-not-root --force-script-chrootless --log="$work/dpkg.log" "$@" >>"$work/dpkg.out" 2>&1 ||
    { cat "$work/dpkg.out" >&2; fail "dpkg $*"; }
}
# The page of the manual has all commands and options that --help has, and the packages name the
# owners of what is inlined.
tr -d '\\' <docs/kandrel-post.1 >"$work/page"
has_all() {
  local word
  for word in $(build/release/apps/kandrel-post/kandrel-post "$@" --help | sed -nE 's/^  (-[a-zA-Z],)?(--[a-z-]+).*/\2/p'); do
    case $word in --help | --version) continue ;; esac
    grep -q -e "$word\b" "$work/page" || fail "docs/kandrel-post.1 lacks $word of kandrel-post $*"
  done
  for word in $(build/release/apps/kandrel-post/kandrel-post "$@" --help | sed -nE '/^Subcommands/,$s/^  ([a-z]+) .*/\1/p'); do
    grep -qE "\.BR .*\b${*:+$* }$word\b" "$work/page" || fail "docs/kandrel-post.1 lacks $word of kandrel-post $*"
    if [ $# -eq 0 ]; then has_all "$word"; else has_all "$@" "$word"; fi
  done
}
has_all
mapfile -t owners < <(strings build/release/apps/kandrel-post/kandrel-post | sed -nE 's/.*Copyright \(c\) //p' | sort -u)
[ ${#owners[@]} -gt 0 ] || build/release/apps/kandrel-post/kandrel-post --version | grep -q 'left out' ||
  fail "kandrel-post names no owner of what its page is made of"
for owner in "${owners[@]}"; do
  grep -qF "$owner" cmake/copyright_of_program || fail "cmake/copyright_of_program lacks $owner"
done
debs=("$work"/deb/*.deb)
names=()
for deb in "${debs[@]}"; do
  names+=("$(dpkg-deb -f "$deb" Package)")
  if command -v lintian >/dev/null 2>&1; then
    # No list of bugs waits for these packages.
    lintian --no-cfg --allow-root --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs "$deb"
  fi
done
dpkg_root -i "${debs[@]}"
by_cmake deb -DCMAKE_PREFIX_PATH="$root/usr"
by_pkg_config deb/by_pkg_config "$root/usr"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kandrel) "$root/usr/bin/kandrel-post" --version
dpkg_root -P "${names[@]}"
left=$(find "$root" -path "$root/var" -prune -o ! -type d -print)
[ -z "$left" ] || fail "left behind by the packages: $left"
