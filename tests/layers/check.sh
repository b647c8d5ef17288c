#!/usr/bin/env bash
# Checks how the files of the tree depend on each other, that pages and comments name files that
# exist, and that no file quotes papers which a reader doesn't have.
#
#   check.sh [ROOT]    prints each finding as file:line: what is wrong; exits 1 when there is one
set -euo pipefail
cd "${1:-$(dirname "$0")/../..}"

files() {
  if [ -e .git ] && git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git ls-files -co --exclude-standard
  else
    find . -type f -not -path './build*' -not -path './out/*' -not -path './.git/*' -not -path '*/node_modules/*' | sed 's|^\./||'
  fi | while IFS= read -r file; do
    if [ -f "$file" ]; then printf '%s\n' "$file"; fi
  done | LC_ALL=C sort
}

mapfile -t all < <(files)
mapfile -t code < <(printf '%s\n' "${all[@]}" | grep -E '\.(h|cpp)$')
if [ ${#code[@]} -eq 0 ]; then
  echo "layers: no sources below $PWD" >&2
  exit 1
fi

includes() {
  LC_ALL=C awk '
    # The place of a library file in the row misc <- cadcam <- post/model <- post/geometry <-
    # post/passes <- post/verifier <- post/creators <- persistence <- kintree; -1 for a folder that
    # has none.
    function layer(path) {
      if (path ~ /^kandrel\/misc\//) return 1
      if (path ~ /^kandrel\/cadcam\//) return 2
      if (path ~ /^kandrel\/post\/model\//) return 3
      if (path ~ /^kandrel\/post\/geometry\//) return 4
      if (path ~ /^kandrel\/post\/passes\//) return 5
      if (path ~ /^kandrel\/post\/verifier\//) return 6
      if (path ~ /^kandrel\/post\/creators\//) return 7
      if (path ~ /^kandrel\/persistence\//) return 8
      if (path ~ /^kandrel\/kintree\//) return 9
      return -1
    }
    # The floor of a folder of kandrel-post, host <- out <- cl, csv, machine, samples <- pictures <-
    # commands; of one floor, none includes another. 0 for what stands in none, and above all of them
    # main.cpp.
    function floor(folder) {
      if (folder == "host") return 1
      if (folder == "out") return 2
      if (folder == "cl" || folder == "csv" || folder == "machine" || folder == "samples") return 3
      if (folder == "pictures") return 4
      if (folder == "commands") return 5
      return 0
    }
    function report(text) { print FILENAME ":" FNR ": " text; found = 1 }

    FNR == 1 {
      library = FILENAME ~ /^kandrel\//
      outside = FILENAME ~ /^(apps|examples|tests\/consumer)\//
      model = FILENAME ~ /^tests\/support\/rigid_body_model\./
      mine = layer(FILENAME)
      if (library && mine < 0) report("stands in no layer")
      app = FILENAME ~ /^apps\/kandrel-post\/[^\/]*\//
      split(FILENAME, path, "/")
      if (app && !floor(path[3])) report("stands on no floor")
    }
    /^[ \t]*#[ \t]*include/ {
      if (!match($0, /[<"][^>"]*[>"]/)) {
        if (library) report("an include whose file cannot be read off")
        next
      }
      form = substr($0, RSTART, 1)
      target = substr($0, RSTART + 1, RLENGTH - 2)
      if (library && form == "\"") report("include as <kandrel/...>, not \"" target "\"")
      if (library && target ~ /^(apps|examples|tests|bench|fuzz)\//)
        report("the library includes " target)
      if (outside && target ~ /^(tests|bench|fuzz)\//) report("a program includes " target)
      if (target ~ /\.\./) report("include by its path from the root, not " target)
      split(target, to, "/")
      if (app && to[1] == "kandrel-post" && to[2] != path[3] && floor(to[2]) >= floor(path[3]))
        report("includes " target ", which does not stand below it")
      if (target !~ /^kandrel\//) next
      if (library && layer(target) > mine) report("includes " target ", which stands above it")
      public = library && FILENAME ~ /\.h$/ && FILENAME !~ /\/detail\//
      if ((outside || public) && target ~ /\/detail\//)
        report("includes " target ", which is not public")
      if (model && target ~ /^kandrel\/post\//)
        report("the model that tests the kernel includes " target)
    }
    END { exit found }' "${code[@]}"
}

# A header and its source are one room; none leads back to itself, be it through sources.
circles() {
  LC_ALL=C awk '
    function room(path) { sub(/\.[^.]*$/, "", path); return path }
    function leads(at, goal,    rooms, n) {
      if (at == goal) return 1
      if (at in seen) return 0
      seen[at]
      for (n = split(below[at], rooms, " "); n; --n) if (leads(rooms[n], goal)) return 1
      return 0
    }
    /^[ \t]*#[ \t]*include[ \t]*[<"](kandrel|kandrel-post)\// {
      match($0, /[<"][^>"]*[>"]/)
      target = substr($0, RSTART + 1, RLENGTH - 2)
      if (target ~ /^kandrel-post\//) target = "apps/" target
      if (room(target) == room(FILENAME)) next
      from[++count] = room(FILENAME)
      to[count] = room(target)
      text[count] = FILENAME ":" FNR ": includes " target ", which leads back here"
      below[from[count]] = below[from[count]] " " to[count]
    }
    END {
      for (i = 1; i <= count; ++i) {
        split("", seen)
        if (leads(to[i], from[i])) { print text[i]; found = 1 }
      }
      exit found
    }' "$@"
}

# Links of pages, and files that pages name in `backticks` and comments of the code as a path: a name
# may leave out the folders that it begins with. CHANGELOG.md names files that are gone.
names() {
  printf '%s\n' "${all[@]}" | LC_ALL=C awk '
    function report(text) { print FILENAME ":" FNR ": " text; found = 1 }

    FILENAME == "-" {
      n = split($0, part, "/")
      for (i = n; i; --i) { tail = part[i] (i == n ? "" : "/" tail); ends[tail] }
      for (i = 1; i <= n; ++i) { path = (i == 1 ? "" : path "/") part[i]; here[path] }
      next
    }
    FILENAME ~ /\.md$/ {
      for (rest = $0; match(rest, /\]\([^)#]+/); rest = substr(rest, RSTART + RLENGTH)) {
        target = substr(rest, RSTART + 2, RLENGTH - 2)
        if (target ~ /^[a-z]+:/) continue
        path = FILENAME
        sub(/[^\/]*$/, "", path)
        path = path target
        while (sub(/[^\/]+\/\.\.\//, "", path)) continue
        sub(/\/$/, "", path)
        if (!(path in here)) report("links to " target ", which is not there")
      }
      for (rest = $0; match(rest, /`[A-Za-z0-9_\/.-]+\.(h|cpp|md|sh)`/);
           rest = substr(rest, RSTART + RLENGTH)) {
        name = substr(rest, RSTART + 1, RLENGTH - 2)
        if (!(name in ends)) report("names " name ", which is not there")
      }
      next
    }
    (i = index($0, "//")) {
      for (rest = substr($0, i + 2); match(rest, /[A-Za-z0-9_\/-]+\.(h|cpp)/);
           rest = substr(rest, RSTART + RLENGTH)) {
        name = substr(rest, RSTART, RLENGTH)
        if (!(name in ends)) report("names " name ", which is not there")
      }
    }
    END { exit found }' - "$@"
}

# Each pattern is written so that it does not match itself.
papers='\b[Pp]arts? [0-9]+\.[0-9]+|[Ss]peci[f]ication|\bspec\.md\b|\b[Tt]he spec\b|[Ss]eed document'
papers+='|[Ll]eft to the implementer|\b[Dd]ecisions? [0-9X]+(\.[0-9]+)?-[0-9]+|\b[Ii]ssue #?[0-9]+'

status=0
includes || status=1
mapfile -t rooms < <(printf '%s\n' "${code[@]}" | grep -E '^(kandrel|apps)/')
if [ ${#rooms[@]} -ne 0 ]; then circles "${rooms[@]}" || status=1; fi
mapfile -t pages < <(printf '%s\n' "${all[@]}" | grep -E '\.(md|h|cpp)$' | grep -v '^CHANGELOG\.md$')
names "${pages[@]}" || status=1
if printf '%s\0' "${all[@]}" | LC_ALL=C xargs -0 grep -nIHE "$papers"; then
  echo "layers: the lines above quote papers that a reader doesn't have" >&2
  status=1
fi
if printf '%s\n' "${all[@]}" | LC_ALL=C grep -E "$papers"; then
  echo "layers: the file names above do" >&2
  status=1
fi
exit $status
