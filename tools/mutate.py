#!/usr/bin/env python3
"""Seeded mutation testing of the library sources.

Three steps:

  mutate.py list --source-dir DIR --seed N --count K --paths src/arith src/frame -o mutants.json
      Scans the .hpp/.cpp files under the paths (comments, preprocessor lines
      and template heads are left alone; .api registry files are never touched)
      for mutation sites of several kinds, and picks K of them with
      random.Random(N), spread evenly over the kinds and, within a kind, over
      the files. The choice depends only on the source text, the seed and K.

  mutate.py run mutants.json --source-dir DIR --build-dir BUILD [--ctest-args ...] -o report.json
      Configures and builds BUILD once, checks that the unmutated suite passes,
      then for every mutant: writes the mutated line, rebuilds the ovkimx
      target only (the test programs load the shared library at run time) and
      runs ctest. Status: killed (some test failed), survived, stillborn (did
      not compile) or not-applicable (the line no longer reads as recorded).
      The source file is always restored; the report is rewritten after every
      mutant, so an interrupted run keeps its results (--resume continues it).

  mutate.py compare before.json after.json
      Lists the mutants killed in the first report but not in the second;
      exit status 1 if there are any.

A mutant replaces one line, except a check swap, which exchanges two adjacent
OVK_CHECK lines; "original" and "mutated" then hold both lines.
"""
import argparse
import json
import os
import random
import re
import shlex
import signal
import subprocess
import sys
import time
from collections import defaultdict

KINDS = ("comparison", "off-by-one", "rounding", "check-delete", "check-swap", "saturation",
         "channels", "vector-bound", "arith-op", "constant")
FLIP = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
DEFAULT_CTEST_ARGS = "-E '^(install_consumers|exports_)'"

# --------------------------------------------------------------------------- scanning


def closing(text, i):
    """Index of the parenthesis closing the one at text[i], or -1."""
    depth = 0
    for j in range(i, len(text)):
        depth += {"(": 1, ")": -1}.get(text[j], 0)
        if depth == 0:
            return j
    return -1


def operand(text, i):
    """End index of the shift operand starting at text[i]: a parenthesised group or a name."""
    if text.startswith("(", i):
        return closing(text, i) + 1
    m = re.compile(r"[\w.:]+").match(text, i)
    return m.end() if m else i


def line_sites(code):
    """(kind, mutated code) pairs for one line of code (comment already stripped)."""
    out = []

    def sub(kind, start, end, new):
        out.append((kind, code[:start] + new + code[end:]))

    for m in re.finditer(r"(?<=\s)(<=|>=|==|!=|<|>)(?=\s)", code):
        sub("comparison", m.start(), m.end(), FLIP[m.group(1)])
    loop = re.match(r"\s*for \(([^;]*;)([^;]*);", code)
    if loop:
        cond_start, cond_end = loop.start(2), loop.end(2)
        vec = re.match(r"(\s*\w+ \+ )(.+?) <= ", loop.group(2))
        if vec:  # vector loop: for (; i + 16 <= n; i += 16)
            step = vec.group(2)
            s0 = cond_start + len(vec.group(1))
            lt = s0 + len(step) + 1
            sub("vector-bound", lt, lt + 2, "<")
            sub("vector-bound", s0, s0 + len(step),
                str(2 * int(step)) if step.isdigit() else f"2 * {step}" if step.isidentifier() else f"2 * ({step})")
            sub("vector-bound", s0, s0 + len(step),
                str(int(step) - 1) if step.isdigit() else f"{step} - 1")
        elif re.search(r"\s(<|<=|>|>=)\s", loop.group(2)):
            sub("off-by-one", cond_end, cond_end, " - 1")
            sub("off-by-one", cond_end, cond_end, " + 1")
    for m in re.finditer(r"(?<=\s)>> ", code):  # rounding shift: >> k becomes >> (k + 1)
        end = operand(code, m.end())
        if end > m.end():
            sub("rounding", m.end(), end, f"({code[m.end():end]} + 1)")
    for m in re.finditer(r"\b1\)? << ", code):  # rounding bias: 1 << (s - 1) becomes 1 << s
        end = operand(code, m.end())
        arg = code[m.end():end]
        bias = re.fullmatch(r"\((.+) - 1\)", arg)
        if arg:
            sub("rounding", m.end(), end, f"({bias.group(1)})" if bias else f"({arg} + 1)")
    for m in re.finditer(r"(?<![\w.])0\.5(?=f?\b|\))", code):
        sub("rounding", m.start(), m.end(), "0.49")
    for m in re.finditer(r"\b_mm_s(?:rl|ra|ll)i_epi\d+\(", code):
        end = closing(code, m.end() - 1)
        count = re.search(r", (\d+)$", code[m.end():end])
        if count:
            k = m.end() + count.start(1)
            sub("rounding", k, end, str(int(count.group(1)) + 1))
    for m in re.finditer(r"\bOVK_CHECK\(", code):
        if code[:m.start()].strip():  # the check guarded by a for or if: make it a no-op
            sub("check-delete", m.start(), closing(code, m.end() - 1) + 1, "(void)0")
    for m in re.finditer(r"\b(?:saturate|saturateRound)<([^<>()]+)>\(", code):
        sub("saturation", m.start(), m.end(), f"static_cast<{m.group(1)}>(")
    for m in re.finditer(r"\b(\w+::)(stored|processed)\b|\b(Stored|Processed)\b", code):
        word = m.group(2) or m.group(3)
        other = {"stored": "processed", "processed": "stored", "Stored": "Processed", "Processed": "Stored"}
        sub("channels", m.start(), m.end(), (m.group(1) or "") + other[word])
    for m in re.finditer(r"(?<=\S) ([+-]) (?=\S)", code):
        sub("arith-op", m.start(1), m.end(1), "-" if m.group(1) == "+" else "+")
    for m in re.finditer(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d+)([uUlL]*)(?![\w.])", code):
        value = int(m.group(1), 0)
        new = hex(value + 1).upper().replace("X", "x") if m.group(1).startswith("0x") else str(value + 1)
        sub("constant", m.start(1), m.end(1), new)
    return out


def split_comment(line):
    """(code, trailing comment) of one line; the library has no '//' inside strings."""
    i = line.find("//")
    return (line, "") if i < 0 else (line[:i], line[i:])


def scan_file(rel, lines):
    """All candidate mutants of one file, in source order."""
    found = []
    in_block = False
    for n, line in enumerate(lines, 1):
        text = line.rstrip("\n")
        stripped = text.strip()
        if in_block or stripped.startswith("/*"):
            in_block = "*/" not in stripped
            continue
        if (not stripped or stripped.startswith(("//", "#", "template", "static_assert", "concept", "requires"))
                or "#include" in stripped):
            continue
        code, comment = split_comment(text)
        for kind, new in line_sites(code):
            found.append({"kind": kind, "file": rel, "line": n, "original": text, "mutated": new + comment})
        if re.fullmatch(r"OVK_CHECK\(.*\);", stripped):
            indent = text[:len(text) - len(text.lstrip())]
            found.append({"kind": "check-delete", "file": rel, "line": n, "original": text, "mutated": indent})
            following = lines[n].rstrip("\n") if n < len(lines) else ""
            if re.fullmatch(r"\s*OVK_CHECK\(.*\);", following) and following.strip() != stripped:
                found.append({"kind": "check-swap", "file": rel, "line": n, "original": text + "\n" + following,
                              "mutated": indent + following.strip() + "\n" + following[:len(following) - len(
                                  following.lstrip())] + stripped})
    return found


def source_files(source_dir, paths):
    files = []
    for p in paths:
        for root, dirs, names in os.walk(os.path.join(source_dir, p)):
            dirs.sort()
            files += [os.path.relpath(os.path.join(root, f), source_dir) for f in names
                      if f.endswith((".hpp", ".cpp"))]
    return sorted(set(files))


def select(candidates, seed, count):
    """Picks count mutants: round-robin over the kinds, and within a kind over the files."""
    rng = random.Random(seed)
    queues = {}
    for kind in KINDS:
        by_file = defaultdict(list)
        for c in candidates:
            if c["kind"] == kind:
                by_file[c["file"]].append(c)
        files = sorted(by_file)
        rng.shuffle(files)
        for f in files:
            rng.shuffle(by_file[f])
        queue = []
        while any(by_file[f] for f in files):
            queue += [by_file[f].pop() for f in files if by_file[f]]
        queues[kind] = queue
    chosen = []
    while len(chosen) < count and any(queues.values()):
        for kind in KINDS:
            if queues[kind] and len(chosen) < count:
                chosen.append(queues[kind].pop(0))
    return chosen


def cmd_list(args):
    candidates, seen = [], set()
    for rel in source_files(args.source_dir, args.paths):
        with open(os.path.join(args.source_dir, rel), encoding="utf-8") as f:
            for c in scan_file(rel, f.readlines()):
                key = (c["file"], c["line"], c["mutated"])
                if key not in seen and c["mutated"] != c["original"]:
                    seen.add(key)
                    candidates.append(c)
    chosen = select(candidates, args.seed, args.count)
    for i, c in enumerate(chosen, 1):
        c["id"] = f"M{i:03d}"
    per_kind = defaultdict(int)
    for c in candidates:
        per_kind[c["kind"]] += 1
    doc = {"seed": args.seed, "count": args.count, "paths": args.paths, "candidates": dict(per_kind),
           "mutants": [{k: c[k] for k in ("id", "kind", "file", "line", "original", "mutated")} for c in chosen]}
    with open(args.output, "w", encoding="utf-8") as f:
        json.dump(doc, f, indent=1)
    print(f"{len(candidates)} candidate sites, {len(chosen)} mutants written to {args.output}")
    for kind in KINDS:
        print(f"  {kind:13} {per_kind[kind]:5} sites, {sum(c['kind'] == kind for c in chosen):3} chosen")

# --------------------------------------------------------------------------- running


def sh(cmd, timeout=None):
    """Runs a command; returns (exit status, combined output)."""
    try:
        p = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=timeout)
        return p.returncode, p.stdout
    except subprocess.TimeoutExpired as e:
        return -1, (e.stdout or b"").decode(errors="replace") if isinstance(e.stdout, bytes) else (e.stdout or "")


def first_failure(output):
    m = re.search(r"Test\s+#\d+: (\S+) \.*\**(?:Failed|Timeout|Exception|Not Run|SEGFAULT|Subprocess)", output)
    if m:
        return m.group(1)
    m = re.search(r"The following tests FAILED:\s*\n\s*\d+ - (\S+)", output)
    return m.group(1) if m else None


def write_report(path, report):
    tmp = path + ".tmp"
    with open(tmp, "w", encoding="utf-8") as f:
        json.dump(report, f, indent=1)
    os.replace(tmp, path)


def summarise(results):
    counts = {s: sum(r["status"] == s for r in results) for s in ("killed", "survived", "stillborn", "not-applicable")}
    tested = counts["killed"] + counts["survived"]
    rate = 100.0 * counts["killed"] / tested if tested else 0.0
    return counts, rate


def interrupted(signum, frame):
    raise KeyboardInterrupt


def relocate(lines, block, first, reach=40):
    """Where the recorded lines now start: at their recorded place, or else at
    the one place within `reach` lines that reads the same (edits above a
    mutant move it without changing it); None when there is no such place."""
    def at(i):
        return 0 <= i and [l.rstrip("\r\n") for l in lines[i:i + len(block)]] == block
    if at(first):
        return first
    places = [i for i in range(first - reach, first + reach + 1) if at(i)]
    return places[0] if len(places) == 1 else None


def cmd_run(args):
    src, build = os.path.abspath(args.source_dir), os.path.abspath(args.build_dir)
    signal.signal(signal.SIGTERM, interrupted)  # kill PID: restore the source as Ctrl-C does
    mutants = json.load(open(args.mutants, encoding="utf-8"))["mutants"]
    files = sorted({m["file"] for m in mutants})
    status = subprocess.run(["git", "-C", src, "status", "--porcelain", "--", *files],
                            stdout=subprocess.PIPE, text=True, check=True).stdout
    if status.strip():
        sys.exit(f"refusing to run: files of mutants are modified in {src}:\n{status}")
    ctest = ["ctest", "--test-dir", build, f"-j{args.jobs}", "--stop-on-failure", "--timeout", str(args.timeout)]
    ctest += shlex.split(args.ctest_args)
    cost_data = os.path.join(build, "Testing", "Temporary", "CTestCostData.txt")
    # Every target: tests that compile a library source themselves (the
    # internal allocators) must see the mutant too; ninja redoes only what
    # depends on the mutated file.
    rebuild = ["cmake", "--build", build, "-j", str(args.jobs)]
    if not os.path.exists(os.path.join(build, "build.ninja")):
        rc, out = sh(["cmake", "-S", src, "-B", build, "-G", "Ninja", "-DOVK_BUILD_TESTS=ON",
                      "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG",
                      "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"])
        if rc:
            sys.exit(f"configure failed:\n{out}")
    rc, out = sh(["cmake", "--build", build, "-j", str(args.jobs)])
    if rc:
        sys.exit(f"the unmutated build failed:\n{out[-4000:]}")
    start = time.time()
    rc, out = sh(ctest)
    if rc:
        sys.exit(f"the unmutated suite fails ({first_failure(out)}); fix it first:\n{out[-4000:]}")
    print(f"baseline suite passes in {time.time() - start:.1f} s", flush=True)

    report = {"source_dir": src, "mutants_file": os.path.abspath(args.mutants), "ctest": ctest, "results": []}
    if args.resume and os.path.exists(args.output):
        report["results"] = json.load(open(args.output, encoding="utf-8"))["results"]
    done = {r["id"] for r in report["results"]}

    try:
        for m in mutants:
            if m["id"] in done:
                continue
            result = dict(m)
            path = os.path.join(src, m["file"])
            with open(path, encoding="utf-8", newline="") as f:
                original = f.read()
            lines = original.splitlines(keepends=True)
            block = m["original"].split("\n")
            first = relocate(lines, block, m["line"] - 1)
            start = time.time()
            if first is None:
                result["status"] = "not-applicable"
            else:
                eol = lines[first][len(lines[first].rstrip("\r\n")):] or "\n"
                mutated = lines[:first] + [t + eol for t in m["mutated"].split("\n")] + lines[first + len(block):]
                try:
                    with open(path, "w", encoding="utf-8", newline="") as f:
                        f.write("".join(mutated))
                    rc, out = sh(rebuild, timeout=args.build_timeout)
                    result["build_seconds"] = round(time.time() - start, 1)
                    if rc:
                        result["status"] = "stillborn"
                    else:
                        if os.path.exists(cost_data):  # without it the tests run in the order they are
                            os.remove(cost_data)       # defined: the quick unit tests first, the tools last
                        rc, out = sh(ctest, timeout=args.build_timeout)
                        result["status"] = "killed" if rc else "survived"
                        if rc:
                            result["failed_test"] = first_failure(out) or ("timeout" if rc == -1 else "?")
                finally:
                    with open(path, "w", encoding="utf-8", newline="") as f:
                        f.write(original)
            result["seconds"] = round(time.time() - start, 1)
            report["results"].append(result)
            write_report(args.output, report)
            extra = f" ({result['failed_test']})" if "failed_test" in result else ""
            print(f"{m['id']} {result['status']:14} {result['seconds']:6.1f}s  {m['kind']:12} "
                  f"{m['file']}:{m['line']}{extra}", flush=True)
    except KeyboardInterrupt:
        print("interrupted; the source is restored", flush=True)
    finally:
        rc, out = sh(rebuild)
        if rc:
            print(f"warning: the final rebuild failed:\n{out[-2000:]}", flush=True)
    counts, rate = summarise(report["results"])
    report["summary"] = dict(counts, kill_rate=round(rate, 1))
    write_report(args.output, report)
    print(" ".join(f"{k}={v}" for k, v in counts.items()) + f"  kill rate {rate:.1f}% of built mutants")


def cmd_compare(args):
    before = json.load(open(args.before, encoding="utf-8"))["results"]
    after = {r["id"]: r for r in json.load(open(args.after, encoding="utf-8"))["results"]}
    lost = [r for r in before if r["status"] == "killed" and r["id"] in after and after[r["id"]]["status"] != "killed"]
    for name, results in (("before", before), ("after", list(after.values()))):
        counts, rate = summarise(results)
        print(f"{name:6}: " + " ".join(f"{k}={v}" for k, v in counts.items()) + f"  kill rate {rate:.1f}%")
    missing = [r["id"] for r in before if r["id"] not in after]
    if missing:
        print(f"{len(missing)} mutants of the first report are not in the second: {' '.join(missing)}")
    for r in lost:
        print(f"no longer killed: {r['id']} {r['kind']} {r['file']}:{r['line']} -> {after[r['id']]['status']}")
    return 1 if lost else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    p = commands.add_parser("list", help="choose the mutants")
    p.add_argument("--source-dir", required=True)
    p.add_argument("--seed", type=int, required=True)
    p.add_argument("--count", type=int, required=True)
    p.add_argument("--paths", nargs="+", required=True)
    p.add_argument("-o", "--output", required=True)
    p = commands.add_parser("run", help="build and test every mutant")
    p.add_argument("mutants")
    p.add_argument("--source-dir", required=True)
    p.add_argument("--build-dir", required=True)
    p.add_argument("--ctest-args", default=DEFAULT_CTEST_ARGS,
                   help="test selection, one string: --ctest-args='-L arith' (default: %(default)s)")
    p.add_argument("--jobs", type=int, default=2)
    p.add_argument("--timeout", type=int, default=60, help="seconds per test")
    p.add_argument("--build-timeout", type=int, default=1800, help="seconds per build or ctest run")
    p.add_argument("--resume", action="store_true", help="keep the results already in the report")
    p.add_argument("-o", "--output", required=True)
    p = commands.add_parser("compare", help="mutants the second report no longer kills")
    p.add_argument("before")
    p.add_argument("after")
    args = parser.parse_args()
    return {"list": cmd_list, "run": cmd_run, "compare": cmd_compare}[args.command](args)


if __name__ == "__main__":
    sys.exit(main())
