#!/usr/bin/env bash
# Runs kandrel-post as a person would, for what only a process shows: exit codes, what stands on which
# stream, and that a job that fails leaves nothing behind.
#
#   end_to_end.sh PROGRAM
set -u
app=$1
work=$(mktemp -d)
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

complain() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# expect CODE PATTERN ARGUMENT...: the exit code, and a pattern for all of standard error. A job
# that fails writes nothing to standard output.
expect() {
  local code=$1 pattern=$2
  shift 2
  "$app" "$@" >stdout 2>stderr
  local got=$?
  [ $got -eq "$code" ] || complain "exit code $got, $code expected: $*"
  [[ "$(cat stderr)" =~ ^$pattern$ ]] || complain "standard error of $*: $(head -c 300 stderr)"
  [ "$code" -eq 0 ] || [ ! -s stdout ] || complain "standard output of $*: $(head -c 300 stdout)"
}

# shows TEXT ARGUMENT...: all of standard output of a job that does well.
shows() {
  local text=$1
  shift
  expect 0 "" "$@"
  [ "$(cat stdout)" = "$text" ] || complain "standard output of $*: $(head -c 300 stdout)"
}

any=$'[^\n]*'

expect 0 "" machine presets
awk '{print $1}' stdout | LC_ALL=C sort -c || complain "presets out of order: $(cat stdout)"

# Tools: every type that is listed can be shown, also as JSON.
expect 0 "" tool list
[ "$(wc -l <stdout)" -eq 23 ] || complain "types of tools: $(cat stdout)"
for type in $(awk '{print $1}' stdout); do
  expect 0 "" tool show "$type"
  expect 0 "" tool show "$type" --json
  grep -q "^{ \"type\": \"$type\",$" stdout || complain "JSON of $type: $(cat stdout)"
done
expect 1 "error 2116: $any"$'\n'"  caused by 2117: $any" tool show zvBullMill --set cornerRadius=6
expect 2 "tipAngle=9: $any" tool show zvEndMill --set tipAngle=9

# Their meshes. Where admesh is at hand, it finds nothing to mend.
expect 0 "" tool mesh zvEndMill mill.stl --part cutting
shows '{"form": "binary", "triangles": 64, "min": [-5, -5, 0], "max": [5, 5, 20]}' stl show mill.stl --json
expect 0 "" tool mesh zvDrill mill.stl --set units=inch --set tipAngle=90 --tolerance 0.0005
if command -v admesh >/dev/null; then
  for type in zvBarrelMill zvBullMill zvChamferMill zvConvexTipMill zvDoveMill zvDrill zvGenericRevolvedTool \
    zvLolMill zvSlotMill zvSpherMill zvTaperMill; do
    expect 0 "" tool mesh $type mesh.stl --tolerance 0.02
    admesh mesh.stl | awk -F: '/^Number of facets/ { facets = $2 + 0 }
        /^(Total disc|Degen|Edges f|Facets (rem|add|rev)|Backw|Normals f)/ { ++lines; bad += $2 }
        END { exit !(facets > 100 && lines == 8 && bad == 0) }' || complain "admesh mends $type"
  done
fi
expect 0 "" tool mesh zvSlotMill mesh.stl --part noncutting
[ "$(cat mesh.stl)" = $'solid ascii\nendsolid' ] || complain "no triangle: $(cat mesh.stl)"
cp mill.stl old.stl
expect 1 "error 2133: $any"$'\n'"  caused by 2123: $any" tool mesh zvFaceMill mill.stl
expect 1 "error 0: profile tolerance larger than toolRadius" tool mesh zvEndMill mill.stl --tolerance 5
expect 2 "--part: $any"$'\n'"$any" tool mesh zvEndMill mill.stl --part 2
expect 2 "--tolerance: $any"$'\n'"$any" tool mesh zvEndMill mill.stl --tolerance nan
cmp -s mill.stl old.stl || complain "a mesh that fails touches the older file"

# A posting, and one with every option.
"$app" sample square >square.cl
expect 0 "" post -m preset:mill3_metric -t square.cl -o out/of/here/
grep -q '^source moves *8$' stdout || complain "summary: $(cat stdout)"
! grep -q '^note' stdout || complain "a note without a cause: $(cat stdout)"
[ "$(wc -l <out/of/here/posted.csv)" -eq 9 ] || complain "lines of posted.csv"
tail -1 out/of/here/posted.nc | grep -q '^N[0-9]* M30$' || complain "end of posted.nc"
files="posted.csv posted.nc run.glb run.kdr"
"$app" --version | grep -q '^report.html left out' ||
  files="posted.csv posted.nc report.html run.glb run.kdr"
[ "$(cd out/of/here && echo .[!.]* *)" = ".[!.]* $files" ] || complain "files left: $(ls -A out/of/here)"
"$app" machine show preset:mill3_metric --json >given_back.json
expect 0 "" post -m given_back.json -t square.cl -o out2 --origin -1.5,.5,-3e0 \
  --tool-length -2 --set maxAngleStep=1 --set limitsCheck=3 --control 360,180 --small
sed -n 2p out2/posted.csv | grep -q '^0,5,1,600,0,-1.5,0.5,15,,,,0,0,20,0,0,1,,,$' ||
  complain "posted with options: $(sed -n 2p out2/posted.csv)"

# Places that take no output: older files stay as they are.
mkdir kept
echo old >kept/posted.csv
mkdir kept/posted.nc
expect 1 "error 0: kept/posted.nc: $any" post -m preset:mill3_metric -t square.cl -o kept
[ "$(cat kept/posted.csv)" = old ] || complain "an older posted.csv was touched"
[ "$(ls -A kept)" = $'posted.csv\nposted.nc' ] || complain "files left: $(ls -A kept)"
if [ "$(id -u)" -ne 0 ]; then
  mkdir locked
  chmod a-w locked
  expect 1 "error 0: locked/posted.csv: $any" post -m preset:mill3_metric -t square.cl -o locked
  chmod a-r square.cl
  expect 1 "error 0: square.cl: $any" post -m preset:mill3_metric -o bad -t square.cl
  chmod a+r square.cl
fi
"$app" post -m preset:mill3_metric -t square.cl -o full >/dev/full 2>stderr
[ $? -eq 1 ] || complain "a full standard output is no failure"
grep -q '^error 0: standard output: ' stderr || complain "full: $(cat stderr)"
[ ! -e full ] || complain "a job without a summary leaves its files"

"$app" --help >/dev/full 2>stderr
[ $? -eq 1 ] || complain "help that nobody gets is no failure"

# STL files. Two triangles, since a binary file of one is too short to be known as one.
facet='facet normal 0 0.6000000238418579 0.800000011920929\nouter loop\nvertex 0 -0 0\nvertex 0.1 0 0\nvertex 0 2.00000000001 0'
printf "solid a\n$facet\nendloop\nendfacet\n$facet\nendloop\nendfacet\nendsolid" >text.stl
json='"triangles": 2, "min": [0, 0, 0], "max": [0.1, 2, 0]}'
shows "{\"form\": \"text\", $json" stl show text.stl --json
expect 0 "" stl show text.stl
grep -q '^X  *0 to 0.1$' stdout || complain "stl show: $(cat stdout)"
expect 0 "" stl convert text.stl binary.stl --binary
[ "$(stat -c %s binary.stl)" -eq 184 ] || complain "size of a binary STL file"
shows "{\"form\": \"binary\", $json" stl show binary.stl --json
expect 0 "" stl convert binary.stl again.stl
cmp -s binary.stl again.stl || complain "stl convert takes another form than that of its file"
expect 0 "" stl convert text.stl text.stl
kept='vertex 0 2.00000000001 0$\|normal 0 0.6000000238418579 0.800000011920929$'
[ "$(grep -c "$kept" text.stl)" -eq 4 ] || complain "digits lost: $(cat text.stl)"
printf 'solid\nendsolid' >none.stl
shows '{"form": "text", "triangles": 0, "min": null, "max": null}' stl show none.stl --json
printf 'solid\nvertex 1 2' >bad.stl
expect 1 $'error 3504: [^\n]*\n  caused by 0: bad.stl:2' stl show bad.stl
expect 1 $'error 3500: [^\n]*\n  caused by 0: No such file or directory\n  caused by 0: nothing.stl' stl convert nothing.stl binary.stl
expect 1 $'error 3508: [^\n]*\n  caused by 0: File open failed[^\n]*\n  caused by 0: [.]' stl show .
expect 1 $'error 0: File open failed[^\n]*\n  caused by 0: no/such.stl' stl convert text.stl no/such.stl
expect 1 $'error 2149: [^\n]*\n  caused by 0: /dev/full' stl convert text.stl /dev/full
(ulimit -f 0 && exec "$app" stl convert again.stl binary.stl) 2>/dev/null
[ $? -eq 1 ] || complain "a file size limit is no failure"
cmp -s binary.stl again.stl || complain "a conversion that fails spoils the older file"
! ls -A | grep -q 'tmp[0-9]' || complain "a conversion that fails leaves $(ls -A)"
"$app" stl convert text.stl out.stl --text --binary 2>/dev/null
[ $? -eq 2 ] || complain "both forms at once"

# Streams that come closed: the files opened next must not take their place.
"$app" post -m preset:mill3_metric -t square.cl -o closed >&- 2>stderr
[ $? -eq 1 ] || complain "a closed standard output is no failure"
[ ! -e closed ] || complain "a job without a standard output leaves its files"
"$app" post -m preset:mill3_metric -t square.cl -o closed >stdout <&- 2>&- ||
  complain "exit code without standard input and error"
cmp -s closed/posted.csv out/of/here/posted.csv || complain "posted.csv with closed streams"

# Signals: what is half written goes. A full pipe holds the job up before its last step.
mkfifo pipe
exec 3<>pipe
dd if=/dev/zero of=pipe bs=4096 count=1000 oflag=nonblock 2>/dev/null
"$app" post -m preset:mill3_metric -t square.cl -o ended >pipe 2>stderr &
job=$!
for ((i = 0; i < 1000; ++i)); do
  [ "$(ls -A ended 2>/dev/null | wc -l)" -lt 2 ] || break
  sleep 0.02
done
[ $i -lt 1000 ] || complain "the job to be ended does not write"
kill -TERM $job
wait $job 2>/dev/null
[ $? -eq 143 ] || complain "exit code of a job that was ended"
[ ! -e ended ] || complain "a job that was ended leaves its folder: $(ls -A ended)"

# The same at each stage, known by what the job has done so far. It can't come to its end: the pipe
# for its summary is full. With job control, as a job in the background ignores an interrupt else.
awk 'BEGIN { for (i = 0; i < 60000; ++i) print "GOTO/" i / 100 "," i % 7 ",0" }' >long.cl
mkfifo slow.cl
mkdir present
has() { compgen -G "$1" >/dev/null; }
is_reading() { [ -e slow.opened ]; }
is_posting() { [ -e new ]; }
is_writing() { has 'new/in/.posted.nc.*'; }
is_verified() { has 'new/in/.run.kdr.*'; }
is_waiting() { [ "$(wc -c <"$(compgen -G 'present/.run.kdr.*' || echo /dev/null)")" -gt 1000 ]; }
while read -r stage toolpath folder signal code line; do
  [ "$toolpath" != slow.cl ] || { rm -f slow.opened; (exec 5>slow.cl; : >slow.opened; exec sleep 30) & writer=$!; }
  set -m
  "$app" post -m preset:mill3_metric -t $toolpath -o $folder >pipe 2>stderr &
  job=$!
  set +m
  for ((i = 0; i < 3000; ++i)); do
    ! is_$stage || break
    sleep 0.01
  done
  [ $i -lt 3000 ] || complain "$stage: the job doesn't come to it"
  kill -$signal $job
  wait $job 2>/dev/null
  [ $? -eq $code ] || complain "$stage: exit code of a job that was ended"
  [ "$(cat stderr)" = "$line" ] || complain "$stage: $(cat stderr)"
  [ ! -e new ] || complain "$stage: the job leaves $(find new)"
  [ -z "$(ls -A present)" ] || complain "$stage: the job leaves $(ls -A present)"
  [ "$toolpath" != slow.cl ] || kill $writer
done <<'END'
reading slow.cl new/in INT 130 interrupted
posting long.cl new/in INT 130 interrupted
writing long.cl new/in TERM 143 terminated
verified long.cl new/in INT 130 interrupted
waiting long.cl present INT 130 interrupted
END
exec 4>pipe 3<&-
"$app" post -m preset:mill3_metric -t square.cl -o broken >&4
[ $? -eq 141 ] || complain "exit code with a broken pipe"
[ ! -e broken ] || complain "a broken pipe leaves its folder: $(ls -A broken)"
exec 4>&-
"$app" sample pocket_plate >plate.cl
(ulimit -f 64 && exec "$app" post -m preset:mill3_metric -t plate.cl -o limited) >stdout 2>stderr
[ $? -eq 1 ] || complain "a file size limit is no failure"
grep -q '^error 0: limited/posted.csv: cannot be written' stderr || complain "$(cat stderr)"
[ ! -e limited ] || complain "a file size limit leaves files"
if [[ $files == *report.html* ]]; then
  (ulimit -f 3 && exec "$app" post -m preset:mill3_metric -t square.cl -o limited) >stdout 2>stderr
  [ $? -eq 1 ] || complain "a page that can't be written is no failure"
  grep -q '^error 0: limited/report.html: cannot be written' stderr || complain "$(cat stderr)"
  [ ! -e limited ] || complain "a page that can't be written leaves files"
fi

# A process that may have little memory says so.
if ! nm -D "$app" 2>/dev/null | grep -q __asan; then
  awk 'BEGIN { for (i = 0; i < 400000; ++i) print "GOTO/" i ",0,0" }' >many.cl
  (ulimit -v 100000 && exec "$app" post -m preset:mill3_metric -t many.cl -o little) >stdout 2>stderr
  [ $? -eq 1 ] || complain "too little memory: exit code"
  grep -q '^error 0: ' stderr || complain "too little memory: $(cat stderr)"
  [ ! -e little ] || complain "too little memory leaves files"
  # A tolerance that no memory holds is refused before it fills it: 60 degrees there and back.
  awk 'BEGIN { for (i = 0; i < 20000; ++i) print "GOTO/0,0," i ",0," i % 2 * 1.7 ",1" }' >many.cl
  expect 1 'error 0: a tolerance of 1e-08 takes some .* lines, more than memory holds' \
    post -m preset:fork_ca -t many.cl -o little --tolerance 1e-8 --tool-length 2000
fi

[ $failures -eq 0 ] || echo "$failures failures" >&2
[ $failures -eq 0 ]
