#!/usr/bin/env bash
# Holds the code in pages against the files that it is of. A line <!-- FILE --> in front of a block
# names its file; the block's lines stand there, one after the other, but for what they are indented
# by. With two arguments: prints the one block that is of FILE, whole, as PAGE has it.
#
#   guide_code.sh ROOT            checks the pages below ROOT: README.md, docs
#   guide_code.sh PAGE FILE       prints
set -euo pipefail
export LC_ALL=C

blocks='
  /^<!-- [^ ]+ -->$/ { file = $2; next }
  /^```/ && inside { inside = 0; if (file != "") finish(); file = ""; next }
  /^```/ { inside = 1; count = 0; start = FNR; next }
  inside { line[++count] = $0; next }
  NF { file = "" }'

if [ $# -eq 2 ]; then
  awk -v wanted="$2" 'function finish(i) { if (file == wanted) for (i = 1; i <= count; ++i) print line[i] }'"$blocks" "$1"
  exit
fi

cd "$1"
failed=0
checked=0
while IFS= read -r page; do
  said=$(awk '
    function trimmed(text) { gsub(/^ +| +$/, "", text); return text }
    function finish(   text, n, have, i, at) {
      ++blocks
      while ((getline text < file) > 0) have[++n] = trimmed(text)
      close(file)
      for (at = 0; at + count <= n; ++at) {
        for (i = 1; i <= count && trimmed(line[i]) == have[at + i]; ++i);
        if (i > count) return
      }
      print FILENAME ":" start ": not what stands in " file
    }'"$blocks"'
    END { print blocks + 0 }' "$page")
  checked=$((checked + ${said##*$'\n'}))
  if [[ $said == *$'\n'* ]]; then
    printf '%s\n' "${said%$'\n'*}"
    failed=1
  fi
done < <(find README.md docs -name '*.md')
[ $failed -eq 0 ] || exit 1
[ $checked -ge 6 ] || { echo "guide_code: $checked blocks found, more expected"; exit 1; }
