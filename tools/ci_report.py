#!/usr/bin/env python3
"""Prints what makes a CI run slow, so that growth shows in every run: the
slowest compile units of a build tree (from Ninja's log) and the slowest
tests of a ctest run (from its output).

    tools/ci_report.py compile BUILD_DIR [N]
    tools/ci_report.py tests CTEST_OUTPUT_FILE [N]
"""
import os
import re
import sys


def slowest_units(build_dir, n):
    latest = {}
    with open(os.path.join(build_dir, ".ninja_log"), encoding="utf-8") as f:
        for line in f:
            parts = line.rstrip("\n").split("\t")
            if len(parts) == 5 and parts[3].endswith(".o"):
                latest[parts[3]] = int(parts[1]) - int(parts[0])  # a rebuild replaces the earlier time
    total = sum(latest.values()) / 1000
    print(f"{len(latest)} compile units, {total:.0f} s of compiler time; the slowest:")
    for unit, ms in sorted(latest.items(), key=lambda kv: -kv[1])[:n]:
        print(f"  {ms / 1000:7.1f} s  {unit}")


def slowest_tests(log, n):
    times = []
    with open(log, encoding="utf-8", errors="replace") as f:
        for line in f:
            m = re.search(r"Test\s+#\d+: (\S+) \.+.*?([\d.]+) sec", line)
            if m:
                times.append((float(m.group(2)), m.group(1)))
    print(f"{len(times)} tests; the slowest:")
    for sec, name in sorted(times, reverse=True)[:n]:
        print(f"  {sec:7.1f} s  {name}")


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("compile", "tests"):
        sys.exit(__doc__)
    n = int(sys.argv[3]) if len(sys.argv) > 3 else 10
    (slowest_units if sys.argv[1] == "compile" else slowest_tests)(sys.argv[2], n)


if __name__ == "__main__":
    main()
