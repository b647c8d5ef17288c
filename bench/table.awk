# Writes the rows of the benchmark as tables: awk -f table.awk bounds.txt times.txt instructions.txt
# Fails where a row has no line in bounds.txt, or a line no row.
function trimmed(text) { gsub(/^ +| +$/, "", text); return text }
FILENAME ~ /bounds\.txt$/ {
  if (/^#/ || !NF) next
  order[++n] = $0
  if (!/^=/) { split($0, part, "|"); known[trimmed(part[1])] = 1 }
  next
}
# NAME  RATIO  goal  GOAL  VERDICT
match($0, / +[0-9.]+  goal +[0-9.]+  /) {
  name = trimmed(substr($0, 1, RSTART - 1))
  if (FILENAME ~ /instructions/) name = "instructions: " name
  split(substr($0, RSTART), word, " ")
  verdict = trimmed(substr($0, RSTART + RLENGTH))
  found[name] = word[1] + 0; goal[name] = word[3] + 0
  said[name] = verdict == "MISSED" ? "**missed**" : verdict
  if (verdict == "MISSED") missed = missed (missed == "" ? "" : "; ") name
  if (!(name in known)) { print "no line in bounds.txt: " name > "/dev/stderr"; wrong = 1 }
}
END {
  if (wrong) exit 1
  print "Missed: " (missed == "" ? "none." : missed ".")
  for (i = 1; i <= n; ++i) {
    if (order[i] ~ /^=/) {
      printf "\n### %s\n\n| | Found | Goal | | What bounds it |\n|---|---|---|---|---|\n", substr(order[i], 3)
      continue
    }
    split(order[i], part, "|")
    name = trimmed(part[1]); says = trimmed(part[2]); bound = trimmed(part[3])
    if (!(name in found)) { print "not measured: " name > "/dev/stderr"; wrong = 1; continue }
    printf "| %s%s | %.3f | %s | %s | %s |\n", name, says == "" ? "" : ": " says, found[name], goal[name], said[name], bound
  }
  exit wrong
}
