#!/usr/bin/env python3
"""Runs the mutants of mutants.json against a worktree's tests.

    run.py WORKTREE OUT.json [--only ID,ID..] [--jobs 1] [--hints BEFORE.json] [--killed-only]
                             [--anchors ANCHORS.json] [--build DIR] [--check] [--prepare]

The worktree is never written to: a mutated source or header lies in a folder of its own, which
stands before the worktree in the include path. OUT.json is written after each mutant; a later run
goes on where it stopped (Ctrl-C or kill are safe).

--check        only says which mutants' lines are found, with the likeliest lines for those that
               aren't; no building.
--hints        runs first the case that killed the mutant in that run.
--killed-only  with --hints: leaves out what survived there, but for the holes.
--anchors      {id: {"file": "kandrel/..", "number": 12, "line": "..", "replacement": ".."}} for
               lines anchored again by hand: `line` (or a part of it) on that line of that file
               becomes `replacement`. With `line` and `replacement` alone it is looked for.
"""
import argparse, hashlib, json, os, re, resource, shlex, shutil, signal, subprocess, sys, threading
import time
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from common import HERE, find, load_mutants, sources, suggest

QUICK = 0.05      # seconds: cases up to this run first, all of a file at once
LAST = re.compile(r"allocation|out_of_memory|threads_test|end_to_end")  # only if nothing else kills
IS_TEST = re.compile(r"^\s*(TEST|TEST_F|TEST_P|TYPED_TEST\w*|INSTANTIATE_\w+|REGISTER_\w+)\s*\(",
                     re.M)
MEMORY = 12 << 30


def call(command, cwd=None, **rest):
    return subprocess.run(command, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, errors="replace", **rest)


def must(command, cwd=None, **rest):
    done = call(command, cwd, **rest)
    if done.returncode != 0:
        sys.exit("%s\n%s" % (command if isinstance(command, str) else " ".join(command),
                             done.stdout[-4000:]))
    return done.stdout


class Unit:
    """A test source linked to a program of its own (or a whole program where that can't be)."""

    def __init__(self, name, objects, own, link, target, exe, is_app):
        self.name, self.objects, self.own = name, objects, own  # own: objects with tests
        self.link, self.target, self.exe, self.is_app = link, target, exe, is_app
        self.cases = {}

    def quick(self):
        return [c for c, t in self.cases.items() if t <= QUICK]

    def slow(self):
        return [c for c, t in self.cases.items() if t > QUICK]


class Build:
    """The build of the worktree as it is, from which a mutant's programs differ by some objects."""

    def __init__(self, worktree, folder):
        self.worktree, self.folder = os.path.abspath(worktree), os.path.abspath(folder)
        self.state = os.path.join(self.folder, "mutation")
        env = dict(os.environ, CCACHE_BASEDIR=self.worktree, CCACHE_NOHASHDIR="1")
        if not os.path.exists(os.path.join(self.folder, "build.ninja")):
            must(["cmake", "-S", self.worktree, "-B", self.folder, "-G", "Ninja",
                  "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_BUILD_TYPE=Release",
                  "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -g1 -DNDEBUG -w",
                  "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DKANDREL_STRICT=OFF",
                  "-DKANDREL_INSTALL=OFF", "-DKANDREL_BUILD_EXAMPLES=OFF",
                  "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
                  "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld",
                  "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"], env=env)
        must(["ninja", "-j%d" % ARGS.jobs], self.folder, env=env)
        os.makedirs(self.state, exist_ok=True)
        self.commands = {}  # object -> argv
        self.source = {}    # object -> source
        for entry in json.load(open(os.path.join(self.folder, "compile_commands.json"))):
            argv = shlex.split(entry["command"])
            if "-o" not in argv:
                continue
            obj = argv[argv.index("-o") + 1]
            self.commands[obj], self.source[obj] = argv, entry["file"]
        self.lib_objects = [o for o in self.commands if o.startswith("kandrel/")]
        self.app_objects = [o for o in self.commands if o.startswith("apps/")]
        self.object_of = {os.path.relpath(s, self.worktree): o for o, s in self.source.items()}
        lib = [l for l in must(["ninja", "-t", "commands", "kandrel"],
                               self.folder).splitlines() if " -shared " in l][-1]
        self.lib_link = self.argv_of(lib)
        self.lib_name = os.path.basename(self.lib_link[self.lib_link.index("-o") + 1])
        self.soname = re.search(r"-soname,(\S+)", lib).group(1)
        self.app_link = None
        self.app_exe = os.path.join(self.folder, "apps/kandrel-post/kandrel-post")
        self.e2e = [os.path.join(d, f) for d, _, fs in os.walk(self.worktree + "/tests")
                    for f in fs if f == "end_to_end.sh"]
        self.read_deps()
        self.find_units()
        self.prepare()

    @staticmethod
    def argv_of(line):
        # ": && g++ ... && :"
        return shlex.split([p for p in line.split(" && ") if "g++" in p][0])

    def read_deps(self):
        self.deps, current = defaultdict(set), None
        for line in must(["ninja", "-t", "deps"], self.folder).splitlines():
            if line and not line.startswith(" "):
                current = line.split(":")[0]
            elif line.strip():
                # ccache may have made them relative to the build folder.
                path = os.path.normpath(os.path.join(self.folder, line.strip()))
                if path.startswith(self.worktree + "/"):
                    self.deps[current].add(os.path.relpath(path, self.worktree))
        if not any("kandrel/misc/tolerances.h" in paths for paths in self.deps.values()):
            sys.exit("the build knows no dependencies on headers")

    def find_units(self):
        targets = defaultdict(list)
        for obj in self.commands:
            match = re.match(r"(tests/.*?)/?CMakeFiles/([\w.-]+)\.dir/", obj)
            if match and "cmake_pch" not in obj:
                targets[(match.group(1), match.group(2))].append(obj)
        self.units = []
        programs = os.path.join(self.state, "units")
        os.makedirs(programs, exist_ok=True)
        for (folder, target), objects in sorted(targets.items()):
            exe = os.path.join(folder, target)
            lines = call(["ninja", "-t", "commands", exe], self.folder).stdout.splitlines()
            lines = [l for l in lines if re.search(r" -o %s( |$)" % re.escape(exe), l)]
            if not lines or "g++" not in lines[-1]:
                continue  # a static library
            link = self.argv_of(lines[-1])
            tests = [o for o in objects
                     if IS_TEST.search(open(self.source[o], encoding="utf-8").read())]
            support = [o for o in objects if o not in tests]
            is_app = "/apps" in folder
            made = []
            for test in tests:
                name = os.path.splitext(os.path.basename(self.source[test]))[0]
                made.append(Unit(name, [test] + support, [test], link, target,
                                 os.path.join(programs, target + "." + name), is_app))
            if any(not self.link_unit(u, u.exe).startswith("ok") for u in made):
                made = [Unit(target, objects, tests, link, target,
                             os.path.join(programs, target), is_app)]
                problem = self.link_unit(made[0], made[0].exe)
                if problem != "ok":
                    sys.exit("cannot link %s\n%s" % (target, problem))
            self.units += made

    def link_unit(self, unit, exe, replaced=None, before_archives=()):
        """Links it with some objects replaced; "ok" or the linker's words."""
        newest = max(os.path.getmtime(os.path.join(self.folder, o)) for o in unit.objects)
        if not replaced and not before_archives and os.path.exists(exe):
            archives = [os.path.join(self.folder, a) for a in unit.link if a.endswith(".a")]
            if os.path.getmtime(exe) >= max([newest] + [os.path.getmtime(a) for a in archives]):
                return "ok"
        argv, replaced, placed = [], replaced or {}, False
        skip = False
        for word in unit.link:
            if skip:
                argv.append(exe)
                skip = False
            elif word == "-o":
                argv.append(word)
                skip = True
            elif word.endswith(".cpp.o"):
                if not placed:
                    argv += [replaced.get(o, o) for o in unit.objects] + list(before_archives)
                    placed = True
            else:
                argv.append(word)
        done = call(argv, self.folder)
        return "ok" if done.returncode == 0 else done.stdout[-1500:]

    def prepare(self):
        """Which lines each object has code of, and how long each case takes."""
        stamp = hashlib.sha256()
        for obj in sorted(self.commands):
            stamp.update(obj.encode())
            stamp.update(str(os.path.getmtime(os.path.join(self.folder, obj))).encode())
        stamp = stamp.hexdigest()
        path = os.path.join(self.state, "prepared.json")
        if os.path.exists(path):
            known = json.load(open(path))
            if known["stamp"] == stamp:
                self.lines = {o: {tuple(l) for l in ls} for o, ls in known["lines"].items()}
                for unit in self.units:
                    unit.cases = known["cases"].get(unit.target + "." + unit.name, {})
                self.e2e_time = known["e2e"]
                return
        print("preparing: lines of objects", flush=True)
        self.headers = {os.path.basename(p) for p in sources(self.worktree) if p.endswith(".h")}
        self.lines = {}
        plain = os.path.join(self.state, "plain.o")
        for obj in self.lib_objects:
            # Without optimisation: else lines that were folded away have no code.
            argv = [plain if w == obj else "-O0" if w in ("-O1", "-O2", "-O3") else w
                    for w in self.commands[obj]]
            must(argv, self.folder)
            self.lines[obj] = self.lines_of(plain)
        for unit in self.units:
            for obj in unit.objects:
                if obj not in self.lines:
                    self.lines[obj] = self.lines_of(os.path.join(self.folder, obj))
        print("preparing: times of cases", flush=True)
        work = os.path.join(self.state, "work0")
        for unit in self.units:
            report = os.path.join(self.state, "cases.json")
            if os.path.exists(report):
                os.unlink(report)
            verdict = run_program([unit.exe, "--gtest_output=json:" + report], work, None, 600)
            if not os.path.exists(report):
                sys.exit("%s: %s" % (unit.exe, verdict))
            for suite in json.load(open(report))["testsuites"]:
                for case in suite["testsuite"]:
                    if case.get("failures"):
                        print("fails without a mutant, left out: %s" % case["name"])
                        continue
                    if case.get("result") == "SKIPPED" or case.get("status") == "NOTRUN":
                        continue
                    unit.cases[suite["name"] + "." + case["name"]] = float(
                        case["time"].rstrip("s"))
        self.e2e_time = {}
        for script in self.e2e:
            begin = time.time()
            verdict = run_program([script, self.app_exe], work, None, 120, gtest=False)
            if verdict is not None:
                print("fails without a mutant, left out: %s: %s" % (script, verdict))
                continue
            self.e2e_time[script] = time.time() - begin
        json.dump({"stamp": stamp, "lines": {o: sorted(l) for o, l in self.lines.items()},
                   "cases": {u.target + "." + u.name: u.cases for u in self.units},
                   "e2e": self.e2e_time}, open(path, "w"))

    def lines_of(self, obj):
        found = set()
        done = call(["objdump", "--dwarf=decodedline", obj])
        for match in re.finditer(r"^(\S+\.h)\s+(\d+)\s+0x", done.stdout, re.M):
            if match.group(1) in self.headers:
                found.add((match.group(1), int(match.group(2))))
        return found


def limits():
    os.setsid()
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 31, 1 << 31))


def run_program(argv, work, library, timeout, gtest=True):
    """None when it passes, else (kind, failing case)."""
    tmp = os.path.join(work, "tmp")
    os.makedirs(tmp, exist_ok=True)
    env = {k: v for k, v in os.environ.items() if not k.startswith("GTEST_")}
    env["TMPDIR"] = env["TEST_TMPDIR"] = tmp
    if library:
        env["LD_LIBRARY_PATH"] = library
    log = os.path.join(work, "log.txt")
    with open(log, "wb") as out:
        child = subprocess.Popen(argv, cwd=tmp, env=env, stdin=subprocess.DEVNULL, stdout=out,
                                 stderr=subprocess.STDOUT, preexec_fn=limits)
        try:
            code = child.wait(timeout)
            kind = None if code == 0 else "fails" if code > 0 else "signal %d" % -code
        except subprocess.TimeoutExpired:
            kind = "hangs"
        finally:
            try:
                os.killpg(child.pid, signal.SIGKILL)  # the child's own session, nothing else
            except ProcessLookupError:
                pass
            child.wait()
    if kind is None:
        return None
    with open(log, "rb") as text:
        size = os.path.getsize(log)
        head = text.read(4 << 20).decode(errors="replace")
        if size > (4 << 20):
            text.seek(-(1 << 20), 2)
            head += text.read().decode(errors="replace")
    if not gtest:
        last = [l for l in head.splitlines() if l.strip()]
        return kind, (last[-1][:160] if last else "")
    failed = re.search(r"^\[  FAILED  \] ([\w./]+)", head, re.M)
    running = re.findall(r"^\[ RUN      \] ([\w./]+)", head, re.M)
    if kind == "fails" and failed:
        return kind, failed.group(1)
    return kind, (failed.group(1) if failed else running[-1] if running else "?")


class Harness:
    def __init__(self, build, mutants, results, hints):
        self.build, self.mutants, self.results, self.hints = build, mutants, results, hints
        self.texts = sources(build.worktree)
        self.lock = threading.Lock()
        self.kills, self.tries = defaultdict(float), defaultdict(float)
        for past in (hints or {}, results):
            for result in past.values():
                if result.get("status") == "killed":
                    self.kills[result["by"].split(":")[0]] += 1
                    self.tries[result["by"].split(":")[0]] += 1

    # -- which unit first --

    def chance(self, unit, stem):
        own = unit.name.replace("_test", "")
        if own == stem or own.startswith(stem) or stem.startswith(own):
            return 0.9
        chance = (self.kills[unit.name] + 0.5) / (self.tries[unit.name] + 10)
        for word in ("three_axis", "four_axis", "five_axis", "six_axis"):
            if stem.startswith(word):
                chance *= 3 if word in own else 0.5
        return min(chance, 0.9)

    def batches(self, units, stem):
        order = []
        for unit in units:
            last = bool(LAST.search(unit.name))
            chance = self.chance(unit, stem)
            for cases in (unit.quick(), unit.slow()):
                if cases:
                    cost = sum(unit.cases[c] for c in cases) + 0.03
                    order.append((last, cost / chance, unit, cases))
        order.sort(key=lambda b: b[:2])
        return [b[2:] for b in order]

    # -- running --

    def run_cases(self, unit, exe, cases, work, library):
        argv = [exe, "--gtest_fail_fast", "--gtest_color=no"]
        rest = [c for c in unit.cases if c not in cases]
        if len(cases) <= len(rest):
            argv.append("--gtest_filter=" + ":".join(cases))
        elif rest:
            argv.append("--gtest_filter=-" + ":".join(rest))
        timeout = 8 * sum(unit.cases[c] for c in cases) + 8
        verdict = run_program(argv, work, library, timeout)
        with self.lock:
            self.tries[unit.name] += 1
            if verdict:
                self.kills[unit.name] += 1
        return verdict

    def hinted(self, mutant):
        """(unit, case) that killed it in the run given as a hint, if the case still exists."""
        hint = (self.hints or {}).get(mutant["id"])
        if not hint or hint["status"] != "killed" or ":" not in hint["by"]:
            return None
        name, case = hint["by"].split(":", 1)
        found = [u for u in self.build.units if case in u.cases]
        found.sort(key=lambda u: u.name != name)
        return (found[0], case) if found else None

    def killed(self, unit, verdict, how):
        return {"status": "killed", "by": "%s:%s" % (unit.name, verdict[1]), "kind": verdict[0],
                "how": how}

    # -- one mutant --

    def compile(self, obj, target, work, changes):
        argv = list(self.build.commands[obj])
        argv[argv.index("-o") + 1] = target
        argv[1:1] = ["-I" + os.path.join(work, "inc")]
        if "source" in changes and self.build.source[obj] == changes["original"]:
            argv = [changes["source"] if w == changes["original"] else w for w in argv]
            argv[1:1] = ["-iquote", os.path.dirname(changes["original"])]
        done = call(argv, self.build.folder)
        return None if done.returncode == 0 else done.stdout[-600:]

    def link_library(self, work, replaced):
        library = os.path.join(work, "lib")
        os.makedirs(library, exist_ok=True)
        target = os.path.join(library, self.build.lib_name)
        argv = [replaced.get(w, w) for w in self.build.lib_link]
        argv[argv.index("-o") + 1] = target
        done = call(argv, self.build.folder)
        if done.returncode != 0:
            return None, done.stdout[-600:]
        if self.build.soname != self.build.lib_name:
            os.symlink(self.build.lib_name, os.path.join(library, self.build.soname))
        return library, None

    def run(self, mutant, slot):
        place = find(mutant, self.texts)
        if isinstance(place, str):
            return {"status": "not found", "why": place}
        path, begin, end, _ = place
        text = self.texts[path]
        number = text.count("\n", 0, begin) + 1
        result = {"file": path, "number": number}
        work = os.path.join(self.build.state, "work%d" % slot)
        shutil.rmtree(work, ignore_errors=True)
        os.makedirs(os.path.join(work, "inc"))
        mutated = text[:begin] + mutant["replacement"] + text[end:]
        stem = os.path.splitext(os.path.basename(path))[0]
        original = os.path.join(self.build.worktree, path)
        if path.endswith(".h"):
            if path.startswith("apps/"):
                return dict(result, status="not found", why="headers of apps are not mutated")
            copy = os.path.join(work, "inc", path)
            os.makedirs(os.path.dirname(copy))
            open(copy, "w").write(mutated)
            lines = {(os.path.basename(path), n)
                     for n in range(number, text.count("\n", 0, end) + 2)}
            return dict(result, **self.run_header(mutant, path, lines, stem, work))
        copy = os.path.join(work, os.path.basename(path))
        open(copy, "w").write(mutated)
        changes = {"source": copy, "original": original}
        obj = self.build.object_of.get(path)
        if obj is None:
            return dict(result, status="not found", why="not compiled")
        target = os.path.join(work, "mutant.o")
        problem = self.compile(obj, target, work, changes)
        if problem:
            return dict(result, status="does not compile", why=problem)
        if path.startswith("apps/"):
            return dict(result, **self.run_app(mutant, stem, target, work))
        library, problem = self.link_library(work, {obj: target})
        if problem:
            return dict(result, status="does not compile", why=problem)
        return dict(result, **self.run_units(mutant, stem, work, library))

    def run_units(self, mutant, stem, work, library):
        hint = self.hinted(mutant)
        if hint:
            verdict = self.run_cases(hint[0], hint[0].exe, [hint[1]], work, library)
            if verdict:
                return self.killed(hint[0], verdict, "hint")
        for unit, cases in self.batches(self.build.units, stem):
            verdict = self.run_cases(unit, unit.exe, cases, work, library)
            if verdict:
                return self.killed(unit, verdict, "all")
        return self.run_scripts(self.build.app_exe, work, library)

    def run_scripts(self, exe, work, library):
        for script, seconds in self.build.e2e_time.items():
            verdict = run_program([script, exe], work, library, 8 * seconds + 10, gtest=False)
            if verdict:
                return {"status": "killed", "by": "end_to_end:" + verdict[1], "kind": verdict[0],
                        "how": "script"}
        return {"status": "survived"}

    def run_app(self, mutant, stem, target, work):
        """The mutated object goes before the archive that has the whole one."""
        units = [u for u in self.build.units if u.is_app]
        linked = {}

        def exe_of(unit):
            if unit.name not in linked:
                exe = os.path.join(work, unit.name)
                problem = self.build.link_unit(unit, exe, {}, [target])
                if problem != "ok":
                    raise RuntimeError(problem)
                linked[unit.name] = exe
            return linked[unit.name]

        hint = self.hinted(mutant)
        if hint and hint[0].is_app:
            verdict = self.run_cases(hint[0], exe_of(hint[0]), [hint[1]], work, None)
            if verdict:
                return self.killed(hint[0], verdict, "hint")
        for unit, cases in self.batches(units, stem):
            verdict = self.run_cases(unit, exe_of(unit), cases, work, None)
            if verdict:
                return self.killed(unit, verdict, "all")
        if self.build.app_link is None:
            lines = must(["ninja", "-t", "commands", "kandrel-post"],
                         self.build.folder).splitlines()
            self.build.app_link = Build.argv_of(
                [l for l in lines if " -o apps/kandrel-post/kandrel-post " in l][-1])
        argv = list(self.build.app_link)
        exe = os.path.join(work, "kandrel-post")
        at = argv.index("-o") + 1
        argv[at] = exe
        argv[at + 1:at + 1] = [target]
        done = call(argv, self.build.folder)
        if done.returncode != 0:
            raise RuntimeError(done.stdout[-600:])
        return self.run_scripts(exe, work, None)

    def run_header(self, mutant, path, lines, stem, work):
        build, library = self.build, None
        dependents = {o for o in build.commands if path in build.deps[o]}
        in_units = {o for u in build.units for o in u.objects}
        having = {o for o in dependents if build.lines.get(o, set()) & lines}
        # A line without code anywhere is a constant or a declaration: all may depend on it.
        if not dependents:
            return {"status": "not found", "why": "no source includes this header"}
        if not having:
            having = {o for o in dependents if o in build.lib_objects or o in in_units}
        rebuilt = {}

        def rebuild(unit):
            """The unit with the mutated header; its own program where it has no code of it."""
            if unit.name in rebuilt:
                return rebuilt[unit.name]
            replaced = {}
            for obj in unit.objects:
                if obj in having:
                    target = os.path.join(work, os.path.basename(obj))
                    problem = self.compile(obj, target, work, {})
                    if problem:
                        raise SyntaxError(problem)
                    replaced[obj] = target
            exe = unit.exe
            if replaced:
                exe = os.path.join(work, unit.name)
                problem = build.link_unit(unit, exe, replaced)
                if problem != "ok":
                    raise SyntaxError(problem)
            rebuilt[unit.name] = exe
            return exe

        try:
            hint = self.hinted(mutant)
            hint_how = self.hints[mutant["id"]].get("how") if hint else None
            # The header's own test needs no new library.
            for unit in build.units:
                own = unit.name == stem + "_test" and unit.own[0] in having
                if not own and not (hint and hint[0] is unit and hint_how == "own test"):
                    continue
                exe = rebuild(unit)
                for cases in ([hint[1]] if hint and hint[0] is unit else [], unit.quick(),
                              unit.slow()):
                    verdict = cases and self.run_cases(unit, exe, cases, work, None)
                    if verdict:
                        return self.killed(unit, verdict, "own test")
            replaced = {}
            for number, obj in enumerate(o for o in build.lib_objects if o in having):
                target = os.path.join(work, "lib%d.o" % number)
                problem = self.compile(obj, target, work, {})
                if problem:
                    return {"status": "does not compile", "why": problem}
                replaced[obj] = target
            if replaced:
                library, problem = self.link_library(work, replaced)
                if problem:
                    return {"status": "does not compile", "why": problem}
            if hint:
                verdict = self.run_cases(hint[0], rebuild(hint[0]), [hint[1]], work, library)
                if verdict:
                    return self.killed(hint[0], verdict, "hint")
            # First the tests as they are built, on the new library: what fails is built anew to be
            # sure. Then those with code of the line.
            if replaced:
                for unit, cases in self.batches(build.units, stem):
                    if unit.name in rebuilt:
                        continue
                    if self.run_cases(unit, unit.exe, cases, work, library):
                        exe = rebuild(unit)
                        for group in (cases, list(unit.cases)):
                            verdict = self.run_cases(unit, exe, group, work, library)
                            if verdict:
                                return self.killed(unit, verdict, "library")
            for unit, cases in self.batches(build.units, stem):
                if not any(o in having for o in unit.objects):
                    continue
                verdict = self.run_cases(unit, rebuild(unit), cases, work, library)
                if verdict:
                    return self.killed(unit, verdict, "rebuilt")
            return self.run_scripts(build.app_exe, work, library)
        except SyntaxError as error:
            return {"status": "does not compile", "why": str(error)}


def check(worktree, mutants):
    texts = sources(worktree)
    bad = 0
    for mutant in mutants:
        place = find(mutant, texts)
        if isinstance(place, str):
            bad += 1
            print("%s  %s\n    %s\n      -> %s" % (mutant["id"], place, mutant["line"],
                                                   mutant["replacement"]))
            for ratio, path, number, line in suggest(mutant, texts):
                print("      %.2f %s:%d: %s" % (ratio, path, number, line))
        elif place[3] < 1.0 or os.path.basename(place[0]) != os.path.basename(mutant["file"]):
            print("%s  found at %s:%d, context %.2f of 2" %
                  (mutant["id"], place[0], texts[place[0]].count("\n", 0, place[1]) + 1, place[3]))
    print("%d of %d mutants found" % (len(mutants) - bad, len(mutants)))


def main():
    global ARGS
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("worktree")
    parser.add_argument("out", nargs="?")
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--hints")
    parser.add_argument("--killed-only", action="store_true")
    parser.add_argument("--anchors")
    parser.add_argument("--build")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--prepare", action="store_true")
    ARGS = parser.parse_args()
    mutants = load_mutants(ARGS.anchors)
    only = [i for i in ARGS.only.split(",") if i]
    if only:
        missing = set(only) - {m["id"] for m in mutants}
        if missing:
            sys.exit("no such mutants: %s" % ", ".join(sorted(missing)))
        mutants = [m for m in mutants if m["id"] in only]
    if ARGS.check:
        return check(ARGS.worktree, mutants)
    name = os.path.basename(os.path.abspath(ARGS.worktree))
    build = Build(ARGS.worktree, ARGS.build or os.path.join(HERE, "b_" + name))
    if ARGS.prepare or not ARGS.out:
        return
    results = json.load(open(ARGS.out))["results"] if os.path.exists(ARGS.out) else {}
    hints = json.load(open(ARGS.hints))["results"] if ARGS.hints else None
    if ARGS.killed_only:
        mutants = [m for m in mutants
                   if m["hole"] or (hints or {}).get(m["id"], {}).get("status") != "survived"]
    head = call(["git", "-C", ARGS.worktree, "rev-parse", "HEAD"]).stdout.strip()
    todo = [m for m in mutants
            if m["id"] in only or results.get(m["id"], {}).get("status") in (None, "not found")]
    print("%d mutants to run, %d units, %d cases" %
          (len(todo), len(build.units), sum(len(u.cases) for u in build.units)), flush=True)
    harness = Harness(build, mutants, results, hints)
    slots = list(range(1, ARGS.jobs + 1))
    done = [0]

    def work(mutant):
        with harness.lock:
            slot = slots.pop()
        begin = time.time()
        try:
            result = harness.run(mutant, slot)
        except RuntimeError as error:
            result = {"status": "does not compile", "why": str(error)}
        result["seconds"] = round(time.time() - begin, 2)
        result["hole"] = mutant["hole"]
        with harness.lock:
            slots.append(slot)
            results[mutant["id"]] = result
            done[0] += 1
            with open(ARGS.out + ".new", "w") as out:
                json.dump({"worktree": build.worktree, "commit": head, "results": results}, out,
                          indent=1)
            os.replace(ARGS.out + ".new", ARGS.out)
            print("%3d/%d %-28s %-16s %5.1fs %s" %
                  (done[0], len(todo), mutant["id"], result["status"], result["seconds"],
                   result.get("by", result.get("why", ""))[:110].replace("\n", " ")), flush=True)

    with ThreadPoolExecutor(ARGS.jobs) as pool:
        try:
            for future in [pool.submit(work, m) for m in todo]:
                future.result()
        except BaseException:
            pool.shutdown(wait=False, cancel_futures=True)
            raise


if __name__ == "__main__":
    main()
