#!/usr/bin/env bash
# Runs the example on each sample machine: all names, and the staircase 180 above the table.
#
#   machine_from_file.sh PROGRAM MACHINES
set -euo pipefail
export LC_ALL=C
count=0
for machine in "$2"/*.xml; do
  lines=$("$1" "$machine")
  axes=$(grep -c '^axis [XYZABC]$' <<<"$lines")
  [ "$axes" -ge 3 ] && [ "$axes" -le 5 ]
  [ "$(tail -5 <<<"$lines" | tr '\n' ' ')" = "$(for i in 0 1 2 3 4; do
    echo -n "X$((5 * i)).0000 Y0.0000 Z$((180 + i)).0000 "; done)" ] || { echo "$machine: $lines"; exit 1; }
  count=$((count + 1))
done
[ $count -eq 6 ]
! "$1" no/such.xml 2>/dev/null
