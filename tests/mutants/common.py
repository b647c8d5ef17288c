"""Finding a mutant's line in a worktree, whatever file it was moved to."""
import difflib, json, os, re, subprocess

HERE = os.path.dirname(os.path.abspath(__file__))
ROOTS = ("kandrel", "apps")


def sources(worktree):
    """{relative path: text} of all sources below ROOTS."""
    found = {}
    for root in ROOTS:
        for folder, _, files in os.walk(os.path.join(worktree, root)):
            for name in files:
                if name.endswith((".cpp", ".h")):
                    path = os.path.join(folder, name)
                    found[os.path.relpath(path, worktree)] = open(path, encoding="utf-8").read()
    return found


def squeeze(text):
    """Without comments and white space: what moving and reformatting leave the same."""
    return re.sub(r"\s+", "", re.sub(r"//[^\n]*", "", text))


def pattern_of(line):
    """The line with any white space, line breaks included, where it has some."""
    return re.compile(r"\s+".join(re.escape(word) for word in line.split()))


def context_score(mutant, text, begin, end):
    """0 to 2: how much of the text around is that which stood around the line."""
    before = squeeze(text[max(0, begin - 1500):begin])[-len(mutant["before"]):]
    after = squeeze(text[end:end + 1500])[:len(mutant["after"])]
    ratio = lambda a, b: difflib.SequenceMatcher(None, a, b, False).ratio() if a or b else 1.0
    return ratio(before, mutant["before"]) + ratio(after, mutant["after"])


def find(mutant, texts):
    """(path, begin, end, score) of the mutant's line, or a string that says why not."""
    if mutant.get("exact"):  # anchored by hand: this line of this file
        text = texts.get(mutant["file"], "")
        for match in pattern_of(mutant["line"]).finditer(text):
            if text.count("\n", 0, match.start()) + 1 == mutant["number"]:
                return mutant["file"], match.start(), match.end(), 2.0
        return "not found where its anchor says"
    base = os.path.basename(mutant["file"])
    pattern = pattern_of(mutant["line"])
    candidates = []
    for path, text in texts.items():
        if path.split(os.sep)[0] != mutant["file"].split(os.sep)[0]:
            continue
        for match in pattern.finditer(text):
            begin, end = match.span()
            # Not in the middle of a word or a longer expression of the same line.
            line_start = text.rfind("\n", 0, begin) + 1
            line_end = text.find("\n", end)
            whole = not text[line_start:begin].strip() and not text[end:line_end].strip()
            score = context_score(mutant, text, begin, end)
            candidates.append((score + (0.3 if os.path.basename(path) == base else 0) +
                               (0.2 if whole else 0), path, begin, end, score))
    if not candidates:
        return "not found"
    candidates.sort(reverse=True)
    best = candidates[0]
    if len(candidates) > 1 and candidates[1][0] > best[0] - 0.02:
        return "ambiguous: " + ", ".join(sorted({c[1] for c in candidates[:3]}))
    if best[4] < 0.35:
        return "not found (the line stands in %s, among other lines)" % best[1]
    return best[1], best[2], best[3], best[4]


def suggest(mutant, texts, count=3):
    """The lines most like the mutant's, for anchoring it again by hand."""
    lines = []
    for path, text in texts.items():
        for number, line in enumerate(text.split("\n"), 1):
            line = line.strip()
            if len(line) < 6 or abs(len(line) - len(mutant["line"])) > 40:
                continue
            matcher = difflib.SequenceMatcher(None, mutant["line"], line, False)
            if matcher.quick_ratio() < 0.6:
                continue
            lines.append((matcher.ratio(), path, number, line))
    lines.sort(reverse=True)
    return lines[:count]


def load_mutants(anchors=None):
    mutants = json.load(open(os.path.join(HERE, "mutants.json")))
    if anchors:
        changed = json.load(open(anchors))
        for mutant in mutants:
            mutant.update(changed.get(mutant["id"], {}))
            mutant["exact"] = "number" in changed.get(mutant["id"], {})
    return mutants
