#!/usr/bin/env bash
# Names what installed headers declare and the shared library keeps back, so that a host compiles and
# doesn't link; exits 1 when there is something.
#
#   unexported.sh OBJECTS HEADERS    folders: the objects of the shared library, the headers
#
# Kept back is what the objects share with each other alone. It is declared in a header when a class
# that it belongs to, or its name as a function of a namespace, stands there without KANDREL_API.
set -euo pipefail
objects=$1 headers=$2

find "$headers" -name '*.h' -print0 | xargs -0 cat | LC_ALL=C awk -v objects="$objects" '
  !/KANDREL_API/ && match($0, /^(class|struct) [A-Za-z0-9_]+/) && !/;$/ { named[$2] }
  !/KANDREL_API/ && /^[A-Za-z]/ && match($0, /[A-Za-z0-9_]+\(/) && !/^(template|friend|inline|constexpr|using)/ {
    functions[substr($0, RSTART, RLENGTH - 1)]
  }
  match($0, /^extern template (class|struct) [A-Za-z0-9_:]+/) {
    name = substr($0, RSTART, RLENGTH)
    sub(/.*[ :]/, "", name)
    extern[name]
  }
  END {
    for (name in extern) if (name in named) { print "kept back: instances of " name; found = 1 }
    command = "find " objects " -name \"*.o\" -exec readelf -sW {} + | LC_ALL=C awk " \
      "\"\\$5 == \\\"GLOBAL\\\" && \\$6 == \\\"HIDDEN\\\" && \\$7 != \\\"UND\\\" { print \\$8 }\" | sort -u | c++filt"
    while ((command | getline) > 0) {
      name = $0
      sub(/^(vtable|VTT|typeinfo name|typeinfo) for /, "", name)
      while (gsub(/<[^<>]*>/, "", name)) continue
      while (gsub(/\([^()]*\)/, "", name)) continue
      sub(/ const$/, "", name)
      sub(/.* /, "", name)
      n = split(name, part, "::")
      hit = part[n] in functions && !(part[n - 1] in named) && n <= 2
      for (i = 1; i <= n; ++i) if (part[i] in named) hit = 1
      if (hit) { print "kept back: " $0; found = 1 }
      ++count
    }
    if (!count) { print "no objects below " objects; exit 1 }
    exit found
  }'
