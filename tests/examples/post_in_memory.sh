#!/usr/bin/env bash
# Runs the example and moves its machine along the printed lines: turned back through cradle and
# table, the tip must go around the cone and the tool must lean outwards.
#
#   post_in_memory.sh PROGRAM
set -euo pipefail
export LC_ALL=C
lines=$("$1")
printf '%s\n' "$lines" | awk '
  function wrong(text) { print "line " NR ": " text ": " $0; failures++ }
  function apart(a, b) { return a < b ? b - a : a - b }
  NF != 7 || !/^X[-0-9.]+ Y[-0-9.]+ Z[-0-9.]+ C[-0-9.]+ A[-0-9.]+ F800 T[0-9.]+$/ {
    wrong("not a line of seven words")
    next
  }
  {
    for (i = 1; i <= 7; ++i) word[i] = substr($i, 2) + 0
    rad = atan2(0, -1) / 180
    c = -word[4] * rad; a = -word[5] * rad
    # The tip hangs 75 below where the slides stand. Back through the cradle, which turns about -X,
    # 50 below zero, the table, which turns about -Z, and from the origin of the part.
    y = word[2]; z = word[3] - 75 + 50
    back_y = y * cos(a) + z * sin(a); back_z = -y * sin(a) + z * cos(a) - 50
    x = word[1] * cos(c) + back_y * sin(c) - 5; y = -word[1] * sin(c) + back_y * cos(c) + 3
    z = back_z - 20
    # The tool, which stands along Z, the same way.
    tool_y = sin(a)
    tool_x = tool_y * sin(c); tool_y = tool_y * cos(c); tool_z = cos(a)

    turn = (NR - 1) * 2 * rad
    if (apart(x, 40 * cos(turn)) > 3e-4 || apart(y, 40 * sin(turn)) > 3e-4 || apart(z, 0) > 3e-4)
      wrong("the tip is at " x " " y " " z)
    if (apart(tool_x, 0.5 * cos(turn)) > 1e-5 || apart(tool_y, 0.5 * sin(turn)) > 1e-5 ||
        apart(tool_z, cos(30 * rad)) > 1e-5)
      wrong("the tool points along " tool_x " " tool_y " " tool_z)
    if (word[5] < -120 || word[5] > 20) wrong("the cradle is out of its range")
    # 2 degrees of a circle of 40 at 800 a minute; the first line has no way behind it.
    if (apart(word[7], NR == 1 ? 0 : 80 * sin(rad) / 800 * 60) > 1e-4) wrong("the time")
    if (NR == 1) first = word[4]
    last = word[4]
  }
  END {
    if (NR != 181) { print NR " lines, 181 expected"; failures++ }
    if (apart(apart(last, first), 360) > 1e-3) { print "C goes from " first " to " last; failures++ }
    exit failures > 0
  }'
