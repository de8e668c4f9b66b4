#!/usr/bin/env python3
"""Counts code and test lines the way the project measures them: non-blank
lines that are not only a comment, in .c .cc .cpp .h .hpp .py .api .cmake
files and CMakeLists.txt. Tests are everything under tests/; code is
everything else but bench/ and build trees.

    tools/linecount.py [--by-dir] [ROOT]
"""
import os
import sys

EXTENSIONS = (".c", ".cc", ".cpp", ".h", ".hpp", ".py", ".api", ".cmake")
HASH_COMMENTS = (".py", ".api", ".cmake", "CMakeLists.txt")


def counted(name):
    return name.endswith(EXTENSIONS) or name == "CMakeLists.txt"


def lines_of(path):
    n, in_block = 0, False
    hash_style = path.endswith(HASH_COMMENTS)
    with open(path, encoding="utf-8", errors="replace") as f:
        for raw in f:
            s = raw.strip()
            if not s:
                continue
            if hash_style:
                n += not s.startswith("#")
                continue
            if in_block:
                in_block = "*/" not in s
                continue
            if s.startswith("//"):
                continue
            if s.startswith("/*"):
                in_block = "*/" not in s
                continue
            n += 1
    return n


def main():
    args = [a for a in sys.argv[1:] if not a.startswith("--")]
    root = args[0] if args else "."
    totals, by_dir = {"tests": 0, "code": 0}, {}
    for d, dirs, files in os.walk(root):
        rel = os.path.relpath(d, root)
        dirs[:] = [x for x in dirs if not x.startswith((".", "build")) and not (rel == "." and x == "bench")]
        for name in filter(counted, files):
            n = lines_of(os.path.join(d, name))
            kind = "tests" if rel.split(os.sep)[0] == "tests" else "code"
            totals[kind] += n
            top = os.sep.join(rel.split(os.sep)[:2])
            by_dir[top] = by_dir.get(top, 0) + n
    if "--by-dir" in sys.argv:
        for k in sorted(by_dir):
            print(f"{by_dir[k]:6} {k}")
    print(f"test lines {totals['tests']}, code lines {totals['code']}, ratio {totals['tests'] / totals['code']:.3f}")


if __name__ == "__main__":
    main()
