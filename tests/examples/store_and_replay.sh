#!/usr/bin/env bash
# Runs the example, which must find its own log equal, and looks into the log by hand.
#
#   store_and_replay.sh PROGRAM
set -euo pipefail
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
[ "$("$1" "$work/run.kdr")" = $'10 lines stored, 10 posted again\nequal' ]
# The tag, and the version in four bytes.
[ "$(od -An -tx1 -N8 "$work/run.kdr" | tr -d ' ')" = 4b445220e2000000 ]
! "$1" "$work/no/folder.kdr" 2>/dev/null
