#!/usr/bin/env bash
# Runs what the pages run and holds what it prints against what they say. A line
# <!-- prints: COMMAND --> in front of a block tells; the block's first lines are told where it ends
# in a line "...". Where <!-- bytes: COMMAND --> stands, the block is bytes: 00xN are N zeros, .. six,
# and an offset in front, | and all from a semicolon on count for nothing. Commands run in one folder
# for each page, with the files of examples/machine and of machines in it.
#
#   guide_output.sh ROOT FOLDER...    the folders have the programs
set -euo pipefail
export LC_ALL=C
root=$(realpath "$1")
shift
for folder in "$@"; do PATH=$(realpath "$folder"):$PATH; done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pages=0
checked=0
failed=0
for page in "$root"/README.md "$root"/docs/guides/*.md "$root"/docs/formats/*.md; do
  folder=$work/$((++pages))
  cp -r "$root/examples/machine" "$folder"
  cp -r "$root"/machines/* "$folder"
  # NUMBER.command and NUMBER.block of each.
  awk -v folder="$folder" '
    /^<!-- (prints|bytes): .* -->$/ {
      file = folder "/" ++n
      kind = $2 == "bytes:" ? ".bytes" : ".block"
      sub(/^<!-- [a-z]+: /, ""); sub(/ -->$/, "")
      print > (file ".command")
      next
    }
    /^```/ && inside { inside = 0; close(file kind); file = ""; next }
    /^```/ && file != "" { inside = 1; printf "" > (file kind); next }
    inside { print > (file kind) }' "$page"
  for ((i = 1; ; ++i)); do
    [ -e "$folder/$i.command" ] || break
    checked=$((checked + 1))
    (cd "$folder" && bash -o pipefail "$i.command") >"$folder/$i.out" 2>&1 || true
    if [ -e "$folder/$i.bytes" ]; then
      sed -E 's/;.*//; s/^[0-9A-F]{4}  //; s/\|//g' "$folder/$i.bytes" | tr ' ' '\n' | awk '
        NF == 0 { next }
        sub(/^\.\./, "") { for (k = 0; k < 6; ++k) print "00" }
        sub(/^00x/, "") { for (k = $0 + 0; k > 0; --k) print "00"; next }
        { print tolower($0) }' >"$folder/$i.block"
      od -An -v -tx1 -w1 "$folder/$i.out" | tr -d ' ' >"$folder/$i.hex"
      mv "$folder/$i.hex" "$folder/$i.out"
    elif [ "$(tail -n 1 "$folder/$i.block")" = ... ]; then
      sed -i '$d' "$folder/$i.block"
      head -n "$(wc -l <"$folder/$i.block")" "$folder/$i.out" >"$folder/$i.head"
      mv "$folder/$i.head" "$folder/$i.out"
    fi
    diff "$folder/$i.block" "$folder/$i.out" || { echo "$page: $(cat "$folder/$i.command")"; failed=1; }
  done
done
[ $failed -eq 0 ] || exit 1
[ $checked -ge 11 ] || { echo "guide_output: $checked outputs found, more expected"; exit 1; }
