#!/usr/bin/env python3
"""Symbol-table checks of the two shared libraries.

  check_symbols.py exports --imx LIB --core LIB --export-list exports.txt --core-map ovkcore.map
                            --imx-soname NAME --core-soname NAME [--nm NM] [--readelf READELF]
      The dynamic symbol tables hold exactly the registry's names (libovkimx)
      and the version script's names (libovkcore), nothing internal leaks,
      and the sonames and the dependency of libovkimx on libovkcore are right.
"""
import argparse
import re
import subprocess
import sys


def run(cmd):
    result = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if result.returncode != 0:
        sys.exit(f"{' '.join(cmd)} failed ({result.returncode}):\n{result.stderr}")
    return result.stdout


def nm_symbols(nm, lib, dynamic):
    """Defined symbols as a list of (name, type letter, address, size)."""
    cmd = [nm, "--defined-only", "-S"] + (["-D"] if dynamic else []) + [lib]
    symbols = []
    for line in run(cmd).splitlines():
        fields = line.split()
        if len(fields) == 4:
            address, size, kind, name = fields
        elif len(fields) == 3:
            address, kind, name = fields
            size = "0"
        else:
            continue
        symbols.append((name.split("@")[0], kind, int(address, 16), int(size, 16)))
    return symbols


def read_lines(path):
    with open(path, encoding="utf-8") as f:
        return [line.strip() for line in f if line.strip()]


def version_script_globals(path):
    """Names in the global: part of a linker version script."""
    with open(path, encoding="utf-8") as f:
        text = re.sub(r"/\*.*?\*/", "", f.read(), flags=re.S)
    text = re.sub(r"#[^\n]*", "", text)
    names, in_global = [], False
    for token in re.split(r"[\s;{}]+", text):
        if token == "global:":
            in_global = True
        elif token == "local:":
            in_global = False
        elif token and in_global:
            names.append(token)
    return names


def dynamic_section(readelf, lib):
    """(soname, [needed]) from the dynamic section."""
    soname, needed = None, []
    for line in run([readelf, "-dW", lib]).splitlines():
        m = re.search(r"\((SONAME|NEEDED)\)\s+\S.*\[(.*)\]", line)
        if m and m.group(1) == "SONAME":
            soname = m.group(2)
        elif m:
            needed.append(m.group(2))
    return soname, needed


class Report:
    def __init__(self):
        self.failures = 0

    def fail(self, message):
        self.failures += 1
        print(f"FAIL: {message}")

    def names(self, title, names):
        self.fail(f"{title} ({len(names)}):\n    " + "\n    ".join(sorted(names)))


FUNCTION_KINDS = {"T", "W", "i"}   # global text, weak text, indirect function
FORBIDDEN = [(re.compile(r"^m[a-z]_"), "variant implementation"),
             (re.compile(r"_arraddr$"), "dispatch slot"),
             (re.compile(r"^ovks"), "ovks name"),
             (re.compile(r"^_Z"), "C++ mangled name")]


def check_exported(report, nm, lib, expected, what):
    symbols = [s for s in nm_symbols(nm, lib, dynamic=True) if s[1].isupper() or s[1] in "iu"]
    functions = {name for name, kind, _, _ in symbols if kind in FUNCTION_KINDS}
    others = sorted(f"{name} ({kind})" for name, kind, _, _ in symbols if kind not in FUNCTION_KINDS)
    expected = set(expected)
    missing, extra = expected - functions, functions - expected
    if missing:
        report.names(f"{what}: registered but not exported", missing)
    if extra:
        report.names(f"{what}: exported but not registered", extra)
    if others:
        report.names(f"{what}: exported symbols that are not functions", others)
    for name, _, _, _ in symbols:
        for pattern, label in FORBIDDEN:
            if pattern.search(name):
                report.fail(f"{what}: exports {label} {name}")
    print(f"{what}: {len(functions)} exported functions, {len(expected)} expected")


def cmd_exports(args):
    report = Report()
    imx_names = read_lines(args.export_list)
    if len(set(imx_names)) != len(imx_names):
        report.fail(f"{args.export_list} lists a name twice")
    check_exported(report, args.nm, args.imx, imx_names, "libovkimx")
    core_names = version_script_globals(args.core_map)
    if len(core_names) != 4:
        report.fail(f"{args.core_map} lists {len(core_names)} names, expected 4: {core_names}")
    check_exported(report, args.nm, args.core, core_names, "libovkcore")

    imx_soname, imx_needed = dynamic_section(args.readelf, args.imx)
    core_soname, _ = dynamic_section(args.readelf, args.core)
    if imx_soname != args.imx_soname:
        report.fail(f"libovkimx soname is {imx_soname}, expected {args.imx_soname}")
    if core_soname != args.core_soname:
        report.fail(f"libovkcore soname is {core_soname}, expected {args.core_soname}")
    if args.core_soname not in imx_needed:
        report.fail(f"libovkimx does not need {args.core_soname} (NEEDED: {imx_needed})")
    print(f"sonames: {imx_soname}, {core_soname}; libovkimx needs {imx_needed}")
    return report.failures


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("mode", choices=["exports"])
    parser.add_argument("--imx", required=True)
    parser.add_argument("--core")
    parser.add_argument("--export-list", required=True)
    parser.add_argument("--core-map")
    parser.add_argument("--imx-soname", default="libovkimx.so.8.1")
    parser.add_argument("--core-soname", default="libovkcore.so.8.1")
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--readelf", default="readelf")
    args = parser.parse_args()
    if not (args.core and args.core_map):
        parser.error("exports needs --core and --core-map")
    failures = cmd_exports(args)
    if failures:
        print(f"{failures} check(s) failed")
        return 1
    print("OK")
    return 0


if __name__ == "__main__":
    sys.exit(main())
