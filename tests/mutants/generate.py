#!/usr/bin/env python3
"""mutants.src -> mutants.json. Usage: generate.py WORKTREE [mutants.src]

Format: "@ path", then one mutant a line, "old >> new": the part `old` of a line of that file that
holds it becomes `new`. "old @2 >> new" takes the second line that holds it. "DROP old" drops the
whole line (it must be a statement of one line). A leading "H<name>:" puts it into the group of
holes. A leading "? " (and "@? path") leaves it out without a complaint where the line is not there:
for lines that stand in one of two forms, as branches are merged. Ids count these too, so that they
stay the same."""
import json, os, re, sys
from common import squeeze, HERE, find, sources

worktree = sys.argv[1]
ALIASES = {"cl_lines.cpp": "cl/lines.cpp", "cl_reader.cpp": "cl/reader.cpp",
           "cl_words.cpp": "cl/words.cpp", "cl_writer.cpp": "cl/writer.cpp",
           "machine_json.cpp": "machine/json.cpp", "machine_values.cpp": "machine/values.cpp",
           "samples_rotary.cpp": "samples/rotary.cpp", "limit_keeper.cpp": "pole_limits.cpp",
           "interpolation.cpp": "five_axis_interpolation.cpp",
           "interpolation.h": "five_axis_interpolation.h", "blending.cpp": "pole_blending.cpp"}
entries, errors, path, lines, counts, skipped = [], [], None, [], {}, 0
for number, raw in enumerate(open(sys.argv[2] if len(sys.argv) > 2 else
                                  os.path.join(HERE, "mutants.src")), 1):
    raw = raw.rstrip("\n")
    if not raw.strip() or raw.startswith("#"):
        continue
    if raw.startswith(("@ ", "@? ")):
        path = raw.split(None, 1)[1].strip()
        full = os.path.join(worktree, path)
        if not os.path.exists(full):  # moved: by its new name, or by the same name elsewhere
            name = ALIASES.get(os.path.basename(path), os.path.basename(path))
            moved = [p for p in sources(worktree)
                     if ("/" + p).endswith("/" + name) and p.split("/")[0] == path.split("/")[0]]
            full = os.path.join(worktree, moved[0]) if len(moved) == 1 else full
        here = os.path.relpath(full, worktree)
        if not os.path.exists(full) and raw.startswith("@ "):
            errors.append("%d: no file %s" % (number, path))
        lines = open(full).read().split("\n") if os.path.exists(full) else []
        continue
    base = os.path.basename(path).replace(".", "_")
    if not re.match(r"(\? )?H", raw) or ": " not in raw.split(" >> ")[0][:30]:
        counts[base] = counts.get(base, 0) + 1
    optional = raw.startswith("? ") or not lines
    raw = raw[2:] if raw.startswith("? ") else raw
    hole = None
    match = re.match(r"H([\w-]+): ", raw)
    if match:
        hole, raw = match.group(1), raw[match.end():]
    drop = raw.startswith("DROP ")
    old, new = (raw[5:], "") if drop else raw.split(" >> ") if " >> " in raw else (raw, None)
    if new is None:
        errors.append("%d: no >>: %s" % (number, raw)); continue
    which = 1
    match = re.search(r" @(\d+)$", old)
    if match:
        which, old = int(match.group(1)), old[:match.start()]
    hits = [i for i, line in enumerate(lines) if old in line and not line.strip().startswith("//")]
    if not hits and optional:
        skipped += 1
        continue
    if len(hits) < which or (len(hits) > 1 and not match):
        errors.append("%d: %d lines of %s hold: %s" % (number, len(hits), path, old)); continue
    at = hits[which - 1]
    line = lines[at]
    if line.count(old) != 1 and not drop:
        errors.append("%d: twice in the line: %s" % (number, old)); continue
    stripped = re.sub(r"\s+//.*$", "", line).strip()
    if drop:
        replacement = "/* dropped */;"
    else:
        replacement = re.sub(r"\s+//.*$", "", line).strip().replace(old, new)
    if replacement == stripped:
        errors.append("%d: no change: %s" % (number, raw)); continue
    entries.append({"file": here, "line": stripped, "replacement": replacement,
                    "before": squeeze("\n".join(lines[:at]))[-200:],
                    "after": squeeze("\n".join(lines[at + 1:]))[:200],
                    "number": at + 1, "hole": hole,
                    "id": "H-" + hole if hole else "%s-%d" % (base, counts[base])})
ids = [e["id"] for e in entries]
errors += ["id twice: " + i for i in set(ids) if ids.count(i) > 1]
keys = [(e["file"], e["number"], e["replacement"]) for e in entries]
errors += ["mutant twice: %s" % (k,) for k in set(keys) if keys.count(k) > 1]
texts = sources(worktree)
for e in entries:
    place = find(e, texts)
    if isinstance(place, str) or place[0] != e["file"] or \
            texts[place[0]].count("\n", 0, place[1]) + 1 != e["number"]:
        errors.append("%s does not find itself: %s" % (e["id"], place))
print("\n".join(errors))
order = ("id", "file", "number", "line", "replacement", "hole", "before", "after")
json.dump([{k: e[k] for k in order} for e in entries],
          open(os.path.join(HERE, "mutants.json"), "w"), indent=1)
folders = {}
for e in entries:
    folder = os.path.dirname(e["file"])
    folders[folder] = folders.get(folder, 0) + 1
print(len(entries), "mutants (and %d in another form),"  % skipped, sum(1 for e in entries if e["hole"]), "of holes,",
      len({e["file"] for e in entries}), "files;", folders)
sys.exit(1 if errors else 0)
