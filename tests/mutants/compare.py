#!/usr/bin/env python3
"""compare.py BEFORE.json AFTER.json: figures of both runs, and every mutant killed before and not
after. Exit status 1 when there is one, or when a hole's mutant survives after."""
import json, os, sys
from collections import Counter
from common import HERE

before, after = (json.load(open(p)) for p in sys.argv[1:3])
mutants = {m["id"]: m for m in json.load(open(os.path.join(HERE, "mutants.json")))}


def figures(name, run):
    for group, holes in (("all but holes", False), ("holes", True)):
        results = {i: r for i, r in run["results"].items()
                   if i in mutants and bool(mutants[i]["hole"]) == holes}
        count = Counter(r["status"] for r in results.values())
        valid = count["killed"] + count["survived"]
        print("%-7s %-13s %3d mutants: %3d killed, %3d survived, %d do not compile, %d not found"
              "%s; %.0f s" %
              (name, group, len(results), count["killed"], count["survived"],
               count["does not compile"], count["not found"],
               "; %.1f%% killed" % (100 * count["killed"] / valid) if valid else "",
               sum(r["seconds"] for r in results.values())))
    files = len({mutants[i]["file"] for i in run["results"] if i in mutants})
    units = Counter(r["by"].split(":")[0] for r in run["results"].values()
                    if r["status"] == "killed")
    print("        %d files, commit %s; kills by: %s" %
          (files, run["commit"][:8], ", ".join("%s %d" % u for u in units.most_common(12))))


def show(mutant_id):
    mutant, result = mutants[mutant_id], after["results"].get(mutant_id, {})
    print("  %s %s:%s\n      - %s\n      + %s\n      before: %s; after: %s" %
          (mutant_id, result.get("file", mutant["file"]), result.get("number", "?"),
           mutant["line"], mutant["replacement"],
           before["results"].get(mutant_id, {}).get("by", "survived"),
           result.get("why") or result.get("by") or result.get("status", "not run")))


figures("before", before)
figures("after", after)
status = lambda run, i: run["results"].get(i, {}).get("status", "not run")
killed = [i for i in before["results"] if status(before, i) == "killed" and i in mutants]
lost = [i for i in killed if status(after, i) == "survived"]
print("\nkilled before: %d; of these killed after: %d" %
      (len(killed), sum(status(after, i) == "killed" for i in killed)))
for title, ids in (
        ("killed before, SURVIVES after", lost),
        ("killed before, after not to be judged (not found, does not compile, not run)",
         [i for i in killed if status(after, i) not in ("killed", "survived")]),
        ("holes that survive after", [i for i, m in mutants.items()
                                      if m["hole"] and status(after, i) != "killed"]),
        ("survived before, killed after", [i for i in before["results"]
                                           if status(before, i) == "survived"
                                           and status(after, i) == "killed"])):
    print("\n%s: %d" % (title, len(ids)))
    for i in ids:
        show(i)
sys.exit(1 if lost or any(m["hole"] and status(after, i) != "killed"
                          for i, m in mutants.items()) else 0)
