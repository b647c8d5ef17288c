#!/usr/bin/env python3
"""syntax.py WORKTREE: which mutants do not compile (one source each, no code made)."""
import argparse, os, shutil, sys
import run
from common import find, load_mutants
run.ARGS = argparse.Namespace(jobs=1)
worktree = sys.argv[1]
build = run.Build(worktree, os.path.join(run.HERE, "b_" + os.path.basename(os.path.abspath(worktree))))
harness = run.Harness(build, [], {}, None)
bad = 0
for m in load_mutants():
    place = find(m, harness.texts)
    if isinstance(place, str):
        print(m["id"], place); continue
    path, begin, end, _ = place
    work = os.path.join(build.state, "work9")
    shutil.rmtree(work, ignore_errors=True)
    copy = os.path.join(work, "inc", path) if path.endswith(".h") else os.path.join(work, os.path.basename(path))
    os.makedirs(os.path.dirname(copy)); os.makedirs(os.path.join(work, "inc"), exist_ok=True)
    open(copy, "w").write(harness.texts[path][:begin] + m["replacement"] + harness.texts[path][end:])
    lines = {(os.path.basename(path), harness.texts[path].count("\n", 0, begin) + 1)}
    if path.endswith(".h"):
        users = [o for o in build.commands if path in build.deps[o] and o in build.lines]
        users.sort(key=lambda o: (not (build.lines[o] & lines), o.startswith("tests")))
        obj, changes = users[0], {}
    else:
        obj, changes = build.object_of[path], {"source": copy, "original": os.path.join(worktree, path)}
    build.commands[obj] = list(build.commands[obj])
    saved = build.commands[obj]; build.commands[obj] = saved[:1] + ["-fsyntax-only"] + saved[1:]
    problem = harness.compile(obj, "/dev/null", work, changes)
    build.commands[obj] = saved
    if problem:
        bad += 1; print(m["id"], m["replacement"], "\n", problem[:300], flush=True)
print(bad, "do not compile")
