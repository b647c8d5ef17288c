#!/usr/bin/env bash
# Runs what the guides run and holds what it prints against what they say. A line
# <!-- prints: COMMAND --> in front of a block tells; the block's first lines are told where it ends
# in a line "...". Commands run in one folder for each guide, with the files of examples/machine and
# of machines in it.
#
#   guide_output.sh ROOT FOLDER...    the folders have the programs
set -euo pipefail
export LC_ALL=C
root=$(realpath "$1")
shift
for folder in "$@"; do PATH=$(realpath "$folder"):$PATH; done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

checked=0
failed=0
for page in "$root"/docs/guides/*.md; do
  folder=$work/$(basename "$page" .md)
  cp -r "$root/examples/machine" "$folder"
  cp -r "$root"/machines/* "$folder"
  # NUMBER.command and NUMBER.block of each.
  awk -v folder="$folder" '
    /^<!-- prints: .* -->$/ { file = folder "/" ++n; print substr($0, 14, length($0) - 17) > (file ".command"); next }
    /^```/ && inside { inside = 0; close(file ".block"); file = ""; next }
    /^```/ && file != "" { inside = 1; printf "" > (file ".block"); next }
    inside { print > (file ".block") }' "$page"
  for ((i = 1; ; ++i)); do
    [ -e "$folder/$i.command" ] || break
    checked=$((checked + 1))
    (cd "$folder" && bash -o pipefail "$i.command") >"$folder/$i.out" 2>&1 || true
    if [ "$(tail -n 1 "$folder/$i.block")" = ... ]; then
      sed -i '$d' "$folder/$i.block"
      head -n "$(wc -l <"$folder/$i.block")" "$folder/$i.out" >"$folder/$i.head"
      mv "$folder/$i.head" "$folder/$i.out"
    fi
    diff "$folder/$i.block" "$folder/$i.out" || { echo "$page: $(cat "$folder/$i.command")"; failed=1; }
  done
done
[ $failed -eq 0 ] || exit 1
[ $checked -ge 8 ] || { echo "guide_output: $checked outputs found, more expected"; exit 1; }
