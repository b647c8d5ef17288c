#!/usr/bin/env bash
# Runs the example on each sample machine, whose tree must follow its posting; and on one with a
# shift above an axis, which posting doesn't take: the tree must be seen to leave the path.
#
#   move_the_machine.sh PROGRAM MACHINES
set -euo pipefail
export LC_ALL=C
count=0
for machine in "$2"/*.xml; do
  [[ $("$1" "$machine") == *": on the path" ]] || { echo "$machine"; exit 1; }
  count=$((count + 1))
done
[ $count -eq 6 ]

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk '
  /^    <axis id="A"/ { print "<transform id=\"shift\" initialvalue=\"1,0,0,0, 0,1,0,5, 0,0,1,0, 0,0,0,1\">" }
  { print }
  /^    <\/axis>/ && !done { print "</transform>"; done = 1 }' "$2/trunnion_ca.xml" >"$work/shifted.xml"
! said=$("$1" "$work/shifted.xml") || { echo "not seen: $said"; exit 1; }
[[ $said == *"NOT on the path" ]]
! "$1" no/such.xml 2>/dev/null
