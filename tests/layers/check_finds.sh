#!/usr/bin/env bash
# Plants one fault at a time in a small tree and holds that check.sh finds it, and that it finds
# nothing in the tree without faults.
set -euo pipefail
check=$(cd "$(dirname "$0")" && pwd)/check.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
cases=0

tree() {
  rm -rf "$work/tree"
  mkdir -p "$work/tree"/{kandrel/{misc/detail,cadcam,post/{model,geometry,passes/rewinder,verifier,creators},persistence,kintree},apps/{host,kandrel-post/{host,out,cl,machine,commands}},examples,tests/support,tests/consumer,docs}
  cd "$work/tree"
  echo '#include <vector>' >kandrel/misc/text.h
  echo '#include <kandrel/misc/detail/slot.h>' >kandrel/misc/text.cpp
  : >kandrel/misc/detail/slot.h
  echo '#include <kandrel/misc/text.h>' >kandrel/cadcam/point.h
  echo '#include <kandrel/cadcam/point.h>' >kandrel/post/model/move.h
  echo '#include <kandrel/post/model/move.h>' >kandrel/post/geometry/solver.h
  printf '#include <kandrel/post/passes/blend.h>\n#include <kandrel/post/geometry/solver.h>\n' >kandrel/post/passes/blend.cpp
  echo '#include <kandrel/post/passes/rewinder/place.h>' >kandrel/post/passes/blend.h
  echo '#include <kandrel/post/geometry/solver.h>' >kandrel/post/passes/rewinder/place.h
  echo '#include <kandrel/post/passes/blend.h>' >kandrel/post/verifier/verifier.h
  echo '#include <kandrel/post/verifier/verifier.h>' >kandrel/post/creators/creator.h
  echo '#include <kandrel/post/creators/creator.h>' >kandrel/persistence/log.h
  echo '#include <kandrel/persistence/log.h>' >kandrel/kintree/tree.h
  printf '#include "cl_text.h"\n#include <kandrel/kintree/tree.h>\n' >apps/host/main.cpp
  : >apps/kandrel-post/host/errors.h
  echo '#include "kandrel-post/host/errors.h"' >apps/kandrel-post/host/signals.h
  echo '#include "kandrel-post/host/errors.h"' >apps/kandrel-post/out/sink.h
  echo '#include "kandrel-post/out/sink.h"' >apps/kandrel-post/cl/writer.h
  : >apps/kandrel-post/machine/json.h
  printf '#include "kandrel-post/cl/writer.h"\n#include "kandrel-post/machine/json.h"\n' >apps/kandrel-post/commands/post.cpp
  echo '#include <tests/support/model.h>' >tests/support/model_test.cpp
  echo '#include <kandrel/cadcam/point.h>' >tests/support/rigid_body_model.h
  echo '// The order: post/passes/blend.h, then rewinder/place.h.' >kandrel/post/geometry/order.h
  echo 'Each part has 3.5 mm, specifically; see decision 3.' >docs/notes.md
  echo '[Passes](../kandrel/post/passes), [notes](notes.md#x), `passes/blend.h`, `move.h`.' >docs/map.md
}

# finds WHAT FILE LINE: appends the line to the file and expects a finding that names the file.
finds() {
  tree
  mkdir -p "$(dirname "$2")"
  printf '%s\n' "$3" >>"$2"
  cases=$((cases + 1))
  local out
  if out=$("$check" "$work/tree" 2>&1) || [[ $out != *"$2"* ]]; then
    printf 'not found: %s (%s)\n%s\n' "$1" "$2" "$out"
    failed=1
  fi
}

tree
if ! out=$("$check" "$work/tree" 2>&1); then
  printf 'found in a tree without faults:\n%s\n' "$out"
  failed=1
fi

finds 'misc on cadcam' kandrel/misc/text.h '#include <kandrel/cadcam/point.h>'
finds 'cadcam on model' kandrel/cadcam/point.h '#include <kandrel/post/model/move.h>'
finds 'model on geometry' kandrel/post/model/move.h '#include <kandrel/post/geometry/solver.h>'
finds 'a source of model on geometry' kandrel/post/model/move.cpp '#include <kandrel/post/geometry/solver.h>'
finds 'geometry on passes' kandrel/post/geometry/solver.h '#include <kandrel/post/passes/blend.h>'
finds 'geometry on a part of a pass' kandrel/post/geometry/solver.h '#include <kandrel/post/passes/rewinder/place.h>'
finds 'passes on creators' kandrel/post/passes/blend.h '  #  include <kandrel/post/creators/creator.h>'
finds 'a source of passes on creators' kandrel/post/passes/blend.cpp '#include <kandrel/post/creators/creator.h>'
finds 'passes on the verifier' kandrel/post/passes/blend.cpp '#include <kandrel/post/verifier/verifier.h>'
finds 'the verifier on creators' kandrel/post/verifier/verifier.h '#include <kandrel/post/creators/creator.h>'
finds 'creators on persistence' kandrel/post/creators/creator.h '#include <kandrel/persistence/log.h>'
finds 'persistence on kintree' kandrel/persistence/log.h '#include <kandrel/kintree/tree.h>'
finds 'a way round by quotes' kandrel/misc/text.h '#include "kandrel/misc/text.h"'
finds 'a way round by dots' kandrel/cadcam/point.h '#include <kandrel/cadcam/../post/model/move.h>'
finds 'a way round by a macro' kandrel/misc/text.h '#include HEADER'
finds 'a circle of two headers' kandrel/misc/detail/slot.h '#include <kandrel/misc/text.h>'
finds 'a circle through a source' kandrel/post/passes/rewinder/place.cpp '#include <kandrel/post/passes/blend.h>'
finds 'a circle in the host' apps/kandrel-post/host/errors.cpp '#include "kandrel-post/host/signals.h"'
finds 'a folder without a layer' kandrel/extra/thing.h '#include <vector>'
finds 'a file beside the layers of post' kandrel/post/thing.h '#include <vector>'
finds 'the library on tests' kandrel/post/model/move.cpp '#include <tests/support/model.h>'
finds 'a program on tests' apps/host/main.cpp '#include <tests/support/model.h>'
finds 'a program on internals' apps/host/main.cpp '#include <kandrel/misc/detail/slot.h>'
finds 'a public header on internals' kandrel/misc/text.h '#include <kandrel/misc/detail/slot.h>'
finds 'the host on what writes' apps/kandrel-post/host/errors.h '#include "kandrel-post/out/sink.h"'
finds 'one reader on another' apps/kandrel-post/cl/writer.h '#include "kandrel-post/machine/json.h"'
finds 'a reader on commands' apps/kandrel-post/machine/json.h '#include <kandrel-post/commands/report.h>'
finds 'a folder without a floor' apps/kandrel-post/extra/thing.h '#include <vector>'
finds 'an example on internals' examples/01.cpp '#include <kandrel/misc/detail/slot.h>'
finds 'the consumer on internals' tests/consumer/main.cpp '#include <kandrel/misc/detail/slot.h>'
finds 'the model on the kernel' tests/support/rigid_body_model.h '#include <kandrel/post/model/move.h>'

finds 'a link into the void' docs/map.md 'See [this](../kandrel/post/gone) as well.'
finds 'a second link into the void' docs/map.md '[map](map.md), [gone](gone.md)'
finds 'a file that is gone' docs/map.md 'Look into `passes/blending.h`.'
finds 'a file in another folder' docs/map.md 'Look into `passes/move.h`.'
finds 'a comment on a file that is gone' kandrel/misc/text.h '// See passes/blend.h and passes/blending.h.'

# Put together here, so that check.sh passes over this file.
finds 'a quoted chapter' docs/notes.md "as Par""t 1.11 tells"
finds 'quoted chapters' kandrel/misc/text.h "// Par""ts 4.1 to 4.3"
finds 'the paper' docs/notes.md "the speci""fication"
finds 'the paper in short' kandrel/post/model/move.h "// as the ""spec says"
finds 'the paper as a file' docs/notes.md "see spec"".md"
finds 'a numbered ruling' docs/notes.md "decision"" 1.4-1"
finds 'a numbered cross ruling' docs/notes.md "Decision"" X-3"
finds 'a work item' docs/notes.md "issue"" 2"
finds 'a file name' "docs/speci""fication.md" 'text'

tree
rm -r kandrel apps examples tests
cases=$((cases + 1))
if "$check" "$work/tree" >/dev/null 2>&1; then
  echo 'passes over a tree without sources'
  failed=1
fi

[ $failed -eq 0 ] && echo "$cases faults planted, $cases found"
exit $failed
