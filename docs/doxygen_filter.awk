# What Doxygen reads in place of a header. In this tree a comment stands for the declarations below
# it, down to the next empty line or comment; Doxygen would give it to the first of them alone, so
# such a run becomes a group of Doxygen's. A comment behind a declaration, ///<, stays with that one.
# Where they have no comment, copies, moves and destructors as the language has them are left out,
# and so need no words, as do inherited constructors; what other defaults mean and that an override
# keeps to what its base class says is said here; an alias, and a field of a structure without words
# of its own, are told by their name and by what is said of the structure: they are shown, and pass.
# The comment at the top of a header becomes that of the file: it takes the line of #pragma once too.
# No line is added or dropped: what Doxygen says of a line holds for the header. A run is told by
# indentation, as clang-format leaves it.
function indent(text) { match(text, /^ */); return RLENGTH }
function is_comment(text) { return text ~ /^ *\/\/\// }
function behind(i, words) { if (line[i] !~ /\/\//) line[i] = line[i] " ///< " words }

{ line[NR] = $0 }

END {
  for (i = 1; line[i] ~ /^\/\/ /; ++i) continue
  if (i > 1 && line[i] == "#pragma once") {
    for (j = i; j > 1; --j) line[j] = substr(line[j - 1], 4) (j == i ? " */" : "")
    line[1] = "/** @file"
  }
  for (i = 1; i <= NR; ++i) {
    if (line[i] ~ /^ *using [A-Za-z0-9_:<>, ]+;/) {
      line[i] = "//"
      for (j = i - 1; is_comment(line[j]); --j) line[j] = "//"
    }
    if (is_comment(line[i - 1])) continue
    if (line[i] ~ /^ +(constexpr )?([A-Za-z0-9_]+\([^,()]*&&?[^,()]*\)|([A-Za-z0-9_<>]+& )?operator=\(.*\)) *(noexcept)? *= (default|delete);/ ||
        line[i] ~ /^ +(virtual )?~[A-Za-z0-9_]+\(\)[a-z ]*( = (default|0))?(;| \{.*\})$/)
      line[i] = "//"
    else if (line[i] ~ /operator==\(.* = default;/) behind(i, "Equal when all members are.")
    else if (line[i] ~ /^ +[A-Za-z0-9_ ]+\(\) *(noexcept)? *= default;/) behind(i, "All members at their defaults.")
    else if (line[i] ~ /^ *using [A-Za-z0-9_]+ =/) alias[i]
  }
  for (i = 1; i <= NR; ++i) {
    if (!is_comment(line[i])) continue
    first = i
    level = indent(line[i])
    while (i < NR && is_comment(line[i + 1])) ++i
    # A declaration ends where a line of this level, or what belongs to it, ends with ; or }.
    count = open = type = 0
    for (j = i + 1; j <= NR; ++j) {
      if (line[j] ~ /^ *$/) {
        if (open <= 0) break
        continue
      }
      if (line[j] == "//") continue
      if (indent(line[j]) < level || (open <= 0 && line[j] ~ /^ *}/)) break
      if (indent(line[j]) == level && line[j] ~ /^ *(\/\/|#)/) break
      if (line[j] ~ /^ *(public|protected|private):/) break
      code = line[j]
      sub(/ *\/\/.*$/, "", code)
      copy = code
      open += gsub(/[{]/, "", copy)
      open -= gsub(/[}]/, "", copy)
      if (!count && code ~ /^ *(struct|class|enum|union) /) type = 1
      if (open <= 0 && code ~ /[;}]$/) { ++count; last = j; open = 0 }
      if (count && type) break
    }
    if (count > 1) {
      for (j = first; j <= last; ++j) told[j]
      # One block, whose first line has the group's mark in front.
      for (j = first; is_comment(line[j]); ++j) sub(/\/\/\/ ?/, "", line[j])
      line[first] = "/**@{*/ /** " line[first]
      line[j - 1] = line[j - 1] " */"
      ends[last + 1]
    }
  }
  for (i = 1; i <= NR; ++i) {
    if (line[i] !~ /^ *(\/\/.*)?$/ && line[i] !~ /^\/\*\*/) {
      level = indent(line[i])
      is_type[level] = line[i] ~ /^ *(struct|class|union) /
    }
    if (line[i] ~ /[ )]override(;| =| \{)/ && !is_comment(line[i - 1])) behind(i, "As the base class says.")
    if (i in told) continue
    if (is_type[level - 2] && line[i] ~ /^ +[^()=]+ [A-Za-z0-9_]+( = [^()]*|\{[^()]*\})?;$/ && line[i] !~ /^ *(using|friend|struct|class) / && !is_comment(line[i - 1]))
      behind(i, "&nbsp;")
    else if (i in alias) {
      for (j = i; line[j] !~ /;/; ++j) continue
      behind(j, "&nbsp;")
    }
  }
  for (i = 1; i <= NR; ++i)
    print (i in ends ? "/**@}*/ " : "") (line[i] == "//" ? "" : line[i])
}
