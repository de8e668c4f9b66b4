#!/usr/bin/env python3
"""Runs ovk_bench and prints one table per operation.

Each table has one row per image size and the columns

    ovk        median time of the ovk function
    OpenCV     median time of the nearest OpenCV call (cv::setNumThreads(1))
    ovk/OpenCV below 1: ovk is faster
    memcpy     memory-bound operations only: median time of copying the
               DESTINATION's bytes (one memcpy per destination row, from a
               buffer of the destination's geometry), i.e. reading N and
               writing N bytes where N is the destination's byte count
    ovk/memcpy a memory-bound binary operation (reads 2N, writes N) cannot go
               much below ~1.5, a unary one (reads N, writes N) below ~1.0

Two more columns come from further runs of the same executable on the same
images (same seeds), right after the main one:

    my         the ovk function in the AVX2 sibling libovkimy (the executable
               run with the sibling under the generic library's file name,
               build-bench/src/as-ovkimx/my, first in LD_LIBRARY_PATH);
               ovk/my above 1: the sibling is faster
    CV-SSE2    OpenCV restricted to SSE2 (OPENCV_CPU_DISABLE=...), the
               generic library's instruction set

Times are medians over the repetitions (wall-clock time, single thread).
On a busy machine, --stat min and --clock cpu are steadier.

    bench/run.py                             # build-bench/bench/ovk_bench, all benchmarks
    bench/run.py --filter 'arith/Add'        # a subset (regular expression on the names)
    bench/run.py --json-out raw.json         # also keep Google Benchmark's JSON
    bench/run.py --load raw.json             # only print the tables of a saved run
"""

import argparse
import json
import os
import re
import signal
import statistics
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_EXE = os.path.join(HERE, os.pardir, "build-bench", "bench", "ovk_bench")
IMPLS = ("ovk", "my", "opencv", "cv-sse2", "memcpy")
# OpenCV limited to the generic library's instruction set.
OPENCV_SSE2_ONLY = "SSE3,SSSE3,POPCNT,SSE4.1,SSE4.2,FP16,AVX,AVX2,FMA3,AVX512F,AVX512-SKX,AVX512-COMMON"
UNIT_TO_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
# family/operation/impl/WxH, optionally followed by Google Benchmark's suffixes.
NAME_RE = re.compile(r"^(?P<op>[^/]+/[^/]+)/(?P<impl>ovk|my|opencv|cv-sse2|memcpy)/(?P<w>\d+)x(?P<h>\d+)(?:/.*)?$")


def parse_args():
    p = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--exe", default=DEFAULT_EXE, help="the ovk_bench executable (default: %(default)s)")
    p.add_argument("--filter", default="", help="--benchmark_filter regular expression")
    p.add_argument("--repetitions", type=int, default=3, help="repetitions per benchmark (default: %(default)s)")
    p.add_argument("--min-time", type=float, default=0.1,
                   help="minimum seconds per repetition (default: %(default)s)")
    p.add_argument("--stat", choices=("median", "min"), default="median",
                   help="how the repetitions are summarised (min: for a busy machine)")
    p.add_argument("--clock", choices=("real", "cpu"), default="real",
                   help="wall-clock or process CPU time (cpu: for a busy machine)")
    p.add_argument("--sibling", help="directory holding the AVX2 sibling as libovkimx.so.8.1 (default: "
                   "src/as-ovkimx/my of the executable's build, when it exists; 'none' skips the column)")
    p.add_argument("--no-cv-sse2", action="store_true", help="skip the run of OpenCV restricted to SSE2")
    p.add_argument("--json-out", help="also write the raw JSON here")
    p.add_argument("--load", help="print the tables of a saved JSON file instead of running")
    return p.parse_args()


def list_tests(exe, flt):
    cmd = [exe, "--benchmark_list_tests=true"]
    if flt:
        cmd.append("--benchmark_filter=" + flt)
    out = subprocess.run(cmd, check=True, capture_output=True, text=True).stdout
    return [line for line in out.splitlines() if line.strip()]


def run_once(exe, args, flt, env=None, label="ovk_bench"):
    total = len(list_tests(exe, flt))
    cmd = [exe, "--benchmark_format=json",
           f"--benchmark_repetitions={args.repetitions}",
           f"--benchmark_min_time={args.min_time}"]
    if flt:
        cmd.append("--benchmark_filter=" + flt)
    print(f"{label}: {total} benchmarks x {args.repetitions} repetitions ...", file=sys.stderr, flush=True)
    proc = subprocess.Popen(cmd, stdout=subprocess.PIPE, text=True, env=env)
    lines, seen = [], set()
    progress = sys.stderr.isatty()
    for line in proc.stdout:
        lines.append(line)
        m = re.match(r'\s*"run_name": "(.*)",', line)
        if m and m.group(1) not in seen:
            seen.add(m.group(1))
            if progress:
                print(f"\r\033[K[{len(seen)}/{total}] {m.group(1)}", end="", file=sys.stderr, flush=True)
    if progress:
        print("\r\033[K", end="", file=sys.stderr, flush=True)
    if proc.wait() != 0:
        sys.exit(f"run.py: ovk_bench failed with exit status {proc.returncode}")
    return json.loads("".join(lines))


def renamed(data, impl, new_impl):
    """The benchmarks of one impl, renamed to another column."""
    out = []
    for b in data.get("benchmarks", []):
        for key in ("name", "run_name"):
            if key in b:
                b[key] = b[key].replace(f"/{impl}/", f"/{new_impl}/", 1)
        out.append(b)
    return out


def only_impl(exe, flt, impl):
    """A filter that selects exactly the benchmarks of one impl among those flt selects."""
    names = [n for n in list_tests(exe, flt) if f"/{impl}/" in n]
    def escape(name):  # for Google Benchmark's regular expressions, which reject escapes like \-
        return "".join("\\" + c if c in ".^$*+?()[]{}|\\" else c for c in name)
    return "^(" + "|".join(escape(n) for n in names) + ")$" if names else None


def run(args):
    exe = os.path.abspath(args.exe)
    if not os.access(exe, os.X_OK):
        sys.exit(f"run.py: no executable at {exe}; build the ovk_bench target first")
    data = run_once(exe, args, args.filter)
    if args.json_out:  # kept at once, should a later run fail
        with open(args.json_out, "w") as f:
            json.dump(data, f)
    sibling = args.sibling or os.path.join(os.path.dirname(exe), os.pardir, "src", "as-ovkimx", "my")
    if args.sibling != "none" and os.path.exists(os.path.join(sibling, "libovkimx.so.8.1")):
        flt = only_impl(exe, args.filter, "ovk")
        if flt:
            env = dict(os.environ, LD_LIBRARY_PATH=os.path.abspath(sibling))
            data["benchmarks"] += renamed(run_once(exe, args, flt, env, "AVX2 sibling"), "ovk", "my")
    if not args.no_cv_sse2:
        flt = only_impl(exe, args.filter, "opencv")
        if flt:
            env = dict(os.environ, OPENCV_CPU_DISABLE=OPENCV_SSE2_ONLY)
            data["benchmarks"] += renamed(run_once(exe, args, flt, env, "OpenCV at SSE2"), "opencv", "cv-sse2")
    if args.json_out:
        with open(args.json_out, "w") as f:
            json.dump(data, f)
    return data


def collect(data, stat=statistics.median, clock="real"):
    """{op: {(w, h): {impl: summarised ns or error text}}}, labels {op: OpenCV call}, in run order."""
    samples, errors, labels, order = {}, {}, {}, []
    for b in data.get("benchmarks", []):
        if b.get("run_type", "iteration") != "iteration":
            continue  # the aggregates are recomputed from the repetitions
        m = NAME_RE.match(b.get("run_name", b["name"]))
        if not m:
            continue
        op, impl, size = m.group("op"), m.group("impl"), (int(m.group("w")), int(m.group("h")))
        if op not in samples:
            samples[op] = {}
            order.append(op)
        if b.get("error_occurred"):
            errors[(op, size, impl)] = b.get("error_message", "error")
            samples[op].setdefault(size, {})
            continue
        samples[op].setdefault(size, {}).setdefault(impl, []).append(
            b[clock + "_time"] * UNIT_TO_NS[b.get("time_unit", "ns")])
        if impl == "opencv" and b.get("label"):
            labels[op] = b["label"]
    results = {}
    for op in order:
        results[op] = {}
        for size, per_impl in sorted(samples[op].items(), key=lambda kv: kv[0][0] * kv[0][1]):
            row = {impl: stat(v) for impl, v in per_impl.items()}
            for impl in IMPLS:
                if (op, size, impl) in errors:
                    row[impl] = "ERR: " + errors[(op, size, impl)]
            results[op][size] = row
    return results, labels


def fmt_time(ns):
    if isinstance(ns, str):
        return ns
    if ns is None:
        return "-"
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3), ("ns", 1.0)):
        if ns >= scale or unit == "ns":
            v = ns / scale
            return f"{v:.2f} {unit}" if v < 10 else f"{v:.1f} {unit}" if v < 100 else f"{v:.0f} {unit}"


def fmt_ratio(a, b):
    if isinstance(a, (int, float)) and isinstance(b, (int, float)) and b > 0:
        return f"{a / b:.2f}"
    return "-"


def print_tables(data, stat_name="median", clock="real", out=sys.stdout):
    ctx = data.get("context", {})
    results, labels = collect(data, statistics.median if stat_name == "median" else min, clock)
    head = [f"ovk {ctx.get('ovk_version', '?')}", f"OpenCV {ctx.get('opencv_version', '?')}"
            f" ({ctx.get('opencv_threads', '?')} thread)",
            f"{ctx.get('num_cpus', '?')} CPUs @ {ctx.get('mhz_per_cpu', '?')} MHz"]
    print(", ".join(head), file=out)
    if ctx.get("opencv_cpu_features"):
        print(f"OpenCV CPU features (* = dispatched at run time): {ctx['opencv_cpu_features']}", file=out)
    print(f"times: {stat_name} over the repetitions of the {'wall-clock' if clock == 'real' else 'CPU'} time"
          " per call; memcpy = copy of the destination's bytes", file=out)
    print("ratios: time / time, below 1 the first is faster; ovk/my above 1: the AVX2 sibling is faster",
          file=out)
    for op, rows in results.items():
        with_memcpy = any("memcpy" in r for r in rows.values())
        with_my = any("my" in r for r in rows.values())
        with_sse2 = any("cv-sse2" in r for r in rows.values())
        cols = ["size", "ovk"] + (["my", "ovk/my"] if with_my else []) + ["OpenCV", "ovk/OpenCV"]
        cols += ["my/OpenCV"] if with_my else []
        cols += ["CV-SSE2", "ovk/CV-SSE2"] if with_sse2 else []
        cols += (["memcpy", "ovk/memcpy"] + (["my/memcpy"] if with_my else [])) if with_memcpy else []
        table = []
        for (w, h), r in rows.items():
            line = [f"{w}x{h}", fmt_time(r.get("ovk"))]
            if with_my:
                line += [fmt_time(r.get("my")), fmt_ratio(r.get("ovk"), r.get("my"))]
            line += [fmt_time(r.get("opencv")), fmt_ratio(r.get("ovk"), r.get("opencv"))]
            if with_my:
                line += [fmt_ratio(r.get("my"), r.get("opencv"))]
            if with_sse2:
                line += [fmt_time(r.get("cv-sse2")), fmt_ratio(r.get("ovk"), r.get("cv-sse2"))]
            if with_memcpy:
                line += [fmt_time(r.get("memcpy")), fmt_ratio(r.get("ovk"), r.get("memcpy"))]
                if with_my:
                    line += [fmt_ratio(r.get("my"), r.get("memcpy"))]
            table.append(line)
        widths = [max(len(c), *(len(t[i]) for t in table)) for i, c in enumerate(cols)]
        title = op + ("   [memory-bound]" if with_memcpy else "")
        if op in labels:
            title += f"   OpenCV: {labels[op]}"
        print(f"\n{title}", file=out)
        print("  " + "  ".join(c.rjust(wd) if i else c.ljust(wd) for i, (c, wd) in enumerate(zip(cols, widths))),
              file=out)
        for t in table:
            print("  " + "  ".join(c.rjust(wd) if i else c.ljust(wd) for i, (c, wd) in enumerate(zip(t, widths))),
                  file=out)


def main():
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # quiet when piped into head
    args = parse_args()
    if args.load:
        with open(args.load) as f:
            data = json.load(f)
    else:
        data = run(args)
    print_tables(data, args.stat, args.clock)


if __name__ == "__main__":
    main()
