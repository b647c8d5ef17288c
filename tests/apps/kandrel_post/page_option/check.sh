#!/usr/bin/env bash
# The page of a run is built once for all build folders; and what the build says, and compiles,
# where it can't be built.
#
#   check.sh COMPILER
set -u
compiler=$1
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# configure NAME OPTION...: what CMake says goes to NAME.log, its exit code is returned.
configure() {
  local name=$1
  shift
  cmake -S "$here" -B "$work/$name" -DWEB="$work/web" -DKANDREL_WEB_DIR="$work/shared" "$@" >"$work/$name.log" 2>&1
}

# expect NAME PATTERN: a line of NAME.log.
expect() {
  grep -qE "$2" "$work/$1.log" && return
  echo "FAILED: $1 says nothing like $2:" >&2
  cat "$work/$1.log" >&2
  failures=$((failures + 1))
}

complain() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# defined NAME: the source that is compiled, which must be one.
defined() {
  local source
  source=$(sed -n 's/^-- compiled: //p' "$work/$1.log")
  "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I"$here/../../../../apps" "$source" ||
    complain "$1: $source can't be compiled"
  cat "$source"
}

cp -r "$here/plain_page" "$work/web"
printf '#!/bin/sh\necho v16.20.2\n' >"$work/old_node"
chmod +x "$work/old_node"

# leaves_out NAME WHY OPTION...: the program is built without the page, and says why; ON fails.
leaves_out() {
  local name=$1 why=$2
  shift 2
  configure "$name" "$@" || complain "$name: configuring fails"
  expect "$name" "^-- report\.html left out: $why$"
  defined "$name" | grep -q "return \"$why\";" || complain "$name: the program doesn't say why"
  [ "$name" = off ] || ! configure "$name-on" "$@" -DKANDREL_REPORT=ON || complain "$name: ON does without the page"
}

leaves_out off 'built with KANDREL_REPORT=OFF' -DKANDREL_REPORT=OFF
leaves_out none 'built without Node.js' -DKANDREL_NODE=/bin/false -DKANDREL_NPM=/bin/false
leaves_out old 'built without Node.js' -DKANDREL_NODE="$work/old_node"

if command -v npm >/dev/null && node -e 'process.exit(parseInt(process.versions.node) < 18 ? 1 : 0)'; then
  leaves_out offline 'built where npm could not fetch its packages' -DKANDREL_NPM=/bin/false

  configure first -DKANDREL_REPORT=ON || complain "the page isn't built: $(cat "$work/first.log")"
  expect first '^-- Building the page'
  defined first | grep -q '"<!--KANDREL-RUN-->"' || complain "the place of a run is cut"
  configure second || complain "configuring fails beside another build folder"
  ! grep -q 'Building the page' "$work/second.log" || complain "the page is built twice"
  [ "$(defined first)" = "$(defined second)" ] || complain "another page in another folder"

  echo '<!-- changed --><b>"\?</b>' >>"$work/web/src/page.html"
  head -c 200000 /dev/zero | tr "\0" x >>"$work/web/src/page.html"
  configure second || complain "configuring fails after a change"
  expect second '^-- Building the page'
  defined second | grep -q 'changed' || complain "a change of the page isn't seen"

  echo '<!--KANDREL-RUN-->' >>"$work/web/src/page.html"
  leaves_out twice "built where its page can't be"
  expect twice 'must stand there once'
fi

[ $failures -eq 0 ]
