#!/usr/bin/env bash
# Names what a shared library lets out that isn't its own; exits 1 when there is something.
#
#   alien_symbols.sh LIBRARY
#
# A name is ours when it stands in one of our namespaces, or in none and begins with zv. What it is
# made of, in <> and (), may be anybody's.
set -euo pipefail
nm -DC --defined-only "$1" | LC_ALL=C awk '
  {
    name = whole = substr($0, 20)
    gsub(/operator(<<|>>|<=|>=|->|<|>|\(\))/, "operator", name)
    gsub(/\(anonymous namespace\)|decltype\(.*\)|\[abi:[^]]*\]/, "", name)
    while (gsub(/<[^<>]*>/, "", name)) continue
    while (gsub(/\([^()]*\)/, "", name)) continue
    sub(/^(vtable|VTT|typeinfo name|typeinfo|guard variable|construction vtable) for /, "", name)
    sub(/^((non-)?virtual|covariant return) thunk to /, "", name)
    # What is left before the name is what a function returns.
    gsub(/ (const|volatile)|[&*]/, "", name)
    gsub(/operator (new|delete|bool)/, "operator", name)
    n = split(name, words, " ")
    ++count
    if (words[n] !~ /^((cadcam|exceptions|geoDef|kintree|mathdef|measures|misc|pack|persistence|post)::|zv)/) {
      print "not ours: " whole
      found = 1
    }
  }
  END {
    if (!count) { print "no symbols at all"; exit 1 }
    exit found
  }'
