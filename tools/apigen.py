#!/usr/bin/env python3
"""Generates the exported API of libovkimx from the registry files (*.api).

Every exported function is declared exactly once, on one line of a registry
file that sits next to the code implementing it. From those lines this script
writes:

  include/ovk/ovki_<subsystem>.h  public C prototypes, one header per subsystem
  mx_<unit>.cpp                   per registry file: the mx_ implementations,
                                  each a thin forward to a C++ template instance
  entry_table.cpp                 one read-only slot per function, pointing at
                                  its mx_ implementation
  stubs.S                         the exported symbols: jump through the slot
  ovkimx.map                      linker version script (only the API is global)
  exports.txt                     the exported names, one per line

Registry syntax (one statement per line, '#' starts a comment):

  subsystem arith                 public header the prototypes go to
  include "arith/add.hpp"         C++ header that defines the implementations
  ## Text                         documentation copied into the public header
  shape Name<T, U> RET (PARAMS)   a reusable signature; T, U are placeholders
  ovkiAdd_8u_C1RSfs  Name<Ovk8u,Ovk16s>  impl::expression<Ovk8u, C1>

The implementation expression is looked up in namespace ovk and called with
the function's arguments unchanged. Shapes are shared by all registry files;
the common ones live in src/frame/shapes.api.
"""

import argparse
import os
import re
import sys

SUBSYSTEMS = [
    ("frame", "image memory and version"),
    ("arith", "arithmetic, logic, elementary functions and compositing"),
    ("exchange", "copy, set, conversion, border copies and generators"),
    ("threshold", "thresholds and comparisons"),
    ("stats", "statistics, histograms and lookup tables"),
    ("filter", "the border model and filters"),
    ("geometry", "resize, warps and remap"),
    ("proximity", "cross-correlation and distances"),
    ("transform", "two-dimensional FFT, DFT, DCT and wavelet"),
]

NAME_RE = re.compile(r"^ovki[A-Za-z0-9_]+$")


class RegistryError(Exception):
    pass


class Shape:
    def __init__(self, name, placeholders, ret, params):
        self.name = name
        self.placeholders = placeholders
        self.ret = ret
        self.params = params  # list of "type name" strings, or [] for (void)

    def bind(self, args, where):
        if len(args) != len(self.placeholders):
            raise RegistryError(f"{where}: shape {self.name} takes {len(self.placeholders)} type(s), got {len(args)}")
        mapping = dict(zip(self.placeholders, args))

        def subst(text):
            return re.sub(r"\b[A-Za-z_][A-Za-z0-9_]*\b", lambda m: mapping.get(m.group(0), m.group(0)), text)

        return subst(self.ret), [subst(p) for p in self.params]


class Function:
    def __init__(self, name, ret, params, impl, unit, subsystem, where):
        self.name, self.ret, self.params, self.impl = name, ret, params, impl
        self.unit, self.subsystem, self.where = unit, subsystem, where

    def param_list(self):
        return ", ".join(self.params) if self.params else "void"

    def arg_names(self):
        return ", ".join(re.findall(r"([A-Za-z_][A-Za-z0-9_]*)\s*(?:\[[^\]]*\])?\s*$", p)[0] for p in self.params)


def split_template_args(text):
    """'Ovk8u,Ovk16s' -> ['Ovk8u', 'Ovk16s'] (no nesting needed here)."""
    return [a.strip() for a in text.split(",")] if text.strip() else []


def parse_shape(rest, where):
    m = re.match(r"^([A-Za-z_][A-Za-z0-9_]*)(?:<([^>]*)>)?\s+(.+?)\s*\((.*)\)\s*$", rest)
    if not m:
        raise RegistryError(f"{where}: cannot read shape '{rest}'")
    name, ph, ret, params = m.group(1), m.group(2) or "", m.group(3), m.group(4).strip()
    plist = [] if params in ("", "void") else [p.strip() for p in params.split(",")]
    return Shape(name, split_template_args(ph), ret.strip(), plist)


def parse_file(path, root, shapes):
    """Reads one registry file. Shapes are shared by all files: they go into
    `shapes`; functions are returned unbound, to be bound once every shape is
    known."""
    unit = os.path.splitext(os.path.relpath(path, root))[0].replace(os.sep, "_")
    subsystem, includes, pending, docs = None, [], [], []
    with open(path, encoding="utf-8") as f:
        for lineno, raw in enumerate(f, 1):
            where = f"{path}:{lineno}"
            line = raw.rstrip("\n")
            if line.lstrip().startswith("##"):
                docs.append(("doc", line.lstrip()[2:].strip()))
                continue
            line = line.split("#", 1)[0].strip()
            if not line:
                continue
            word, _, rest = line.partition(" ")
            rest = rest.strip()
            if word == "subsystem":
                if rest not in dict(SUBSYSTEMS):
                    raise RegistryError(f"{where}: unknown subsystem '{rest}'")
                subsystem = rest
            elif word == "include":
                includes.append(rest.strip('"'))
            elif word == "shape":
                shape = parse_shape(rest, where)
                if shape.name in shapes:
                    raise RegistryError(f"{where}: shape {shape.name} defined twice")
                shapes[shape.name] = shape
            else:
                m = re.match(r"^(\S+)\s+([A-Za-z_][A-Za-z0-9_]*)(?:<([^>]*)>)?\s+(.+)$", line)
                if not m:
                    raise RegistryError(f"{where}: cannot read '{line}'")
                name = m.group(1)
                if not NAME_RE.match(name):
                    raise RegistryError(f"{where}: '{name}' is not an exported ovki name")
                if subsystem is None:
                    raise RegistryError(f"{where}: function before any 'subsystem' line")
                entry = [name, m.group(2), m.group(3) or "", m.group(4).strip(), subsystem, where]
                pending.append(entry)
                docs.append(("fn", entry))
    return unit, includes, pending, docs


def bind_all(parsed, shapes):
    """Turns the unbound function lines of every file into Functions."""
    result = []
    for unit, includes, pending, docs in parsed:
        bound = {}
        for name, shape_name, targs, impl, subsystem, where in pending:
            if shape_name not in shapes:
                raise RegistryError(f"{where}: unknown shape '{shape_name}'")
            ret, params = shapes[shape_name].bind(split_template_args(targs), where)
            bound[where] = Function(name, ret, params, impl, unit, subsystem, where)
        fns = [bound[e[5]] for e in pending]
        bdocs = [("fn", bound[item[5]]) if kind == "fn" else (kind, item) for kind, item in docs]
        result.append((unit, includes, fns, bdocs))
    return result


def write_if_changed(path, text):
    """Leaves unchanged outputs untouched so that the build does not redo work."""
    if os.path.exists(path):
        with open(path, encoding="utf-8") as f:
            if f.read() == text:
                return
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


GENERATED = "Generated by tools/apigen.py from the API registry (the .api files under src). Do not edit."


def header_text(subsystem, title, entries):
    guard = f"OVK_OVKI_{subsystem.upper()}_H"
    out = [f"/*\n * ovk image library: {title}.\n *\n * {GENERATED}\n */",
           f"#ifndef {guard}", f"#define {guard}", "", '#include <ovk/ovkdefs.h>', "",
           "#ifdef __cplusplus", 'extern "C" {', "#endif", ""]
    pending_doc = []
    for kind, item in entries + [("end", None)]:
        if kind == "doc":
            pending_doc.append(item)
            continue
        if pending_doc:  # consecutive ## lines become one comment block
            out.append("")
            out.append("/* " + "\n * ".join(pending_doc) + " */" if len(pending_doc) == 1
                       else "/*\n * " + "\n * ".join(pending_doc) + "\n */")
            pending_doc = []
        if kind == "fn":
            out.append(f"{item.ret} {item.name}({item.param_list()});")
        elif kind == "break":
            out.append("")
    out += ["", "#ifdef __cplusplus", "}", "#endif", "", f"#endif /* {guard} */", ""]
    return "\n".join(out)


def unit_text(includes, functions):
    out = [f"// {GENERATED}", "// The mx_ implementations of one registry file: each forwards to its template instance."]
    for inc in includes:
        out.append(f'#include "{inc}"')
    out.append("")
    out.append("namespace ovk {")
    for fn in functions:
        call = f"{fn.impl}({fn.arg_names()})"
        body = f"return {call};" if fn.ret != "void" else f"{call};"
        out.append(f'extern "C" __attribute__((visibility("hidden"))) {fn.ret} mx_{fn.name}({fn.param_list()})')
        out.append(f"{{\n    {body}\n}}")
    out.append("}  // namespace ovk")
    out.append("")
    return "\n".join(out)


def entry_table_text(functions):
    out = [f"// {GENERATED}",
           "// The entry table: one slot per exported function, set at build time to the",
           "// implementation of the same name and never written afterwards (it lives in",
           "// relocation-read-only memory). The exported stubs jump through these slots.",
           '#include <ovk/ovkdefs.h>', ""]
    for fn in functions:
        alias = f"{fn.name}_fn"
        out.append(f"using {alias} = {fn.ret}({fn.param_list()});")
        out.append(f'extern "C" {alias} mx_{fn.name};')
        out.append(f'extern "C" __attribute__((visibility("hidden"))) {alias}* const {fn.name}_arraddr;')
        out.append(f"{alias}* const {fn.name}_arraddr = &mx_{fn.name};")
    out.append("")
    return "\n".join(out)


def stubs_text(functions):
    out = [f"/* {GENERATED} */",
           "/* Each exported symbol loads its slot and jumps: arguments and result pass unchanged. */",
           "    .text"]
    for fn in functions:
        n = fn.name
        out += [f"    .globl {n}", f"    .type {n}, @function", "    .p2align 4", f"{n}:", "    .cfi_startproc",
                f"    jmp *{n}_arraddr(%rip)", "    .cfi_endproc", f"    .size {n}, .-{n}"]
    out.append('    .section .note.GNU-stack,"",@progbits')
    out.append("")
    return "\n".join(out)


def version_script_text(functions):
    names = "\n".join(f"    {fn.name};" for fn in functions)
    return f"/* {GENERATED} */\n{{\n  global:\n{names}\n  local:\n    *;\n}};\n"


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--root", required=True, help="source directory the registry files live under")
    ap.add_argument("--out", required=True, help="output directory")
    ap.add_argument("--list-units", action="store_true", help="print the unit names and exit")
    ap.add_argument("registries", nargs="+")
    args = ap.parse_args()

    try:
        shapes = {}
        parsed = bind_all([parse_file(p, args.root, shapes) for p in sorted(args.registries)], shapes)
    except RegistryError as e:
        sys.exit(f"apigen: {e}")
    if args.list_units:
        print("\n".join(u for u, _, _, _ in parsed))
        return

    functions, seen = [], {}
    for _, _, fns, _ in parsed:
        for fn in fns:
            if fn.name in seen:
                sys.exit(f"apigen: {fn.where}: {fn.name} already declared at {seen[fn.name]}")
            seen[fn.name] = fn.where
            functions.append(fn)

    for subsystem, title in SUBSYSTEMS:
        entries = []
        for unit, _, fns, docs in parsed:
            if fns and fns[0].subsystem == subsystem:
                if entries:
                    entries.append(("break", None))
                entries += docs
        write_if_changed(os.path.join(args.out, "include", "ovk", f"ovki_{subsystem}.h"),
                         header_text(subsystem, title, entries))
    for unit, includes, fns, _ in parsed:
        write_if_changed(os.path.join(args.out, f"mx_{unit}.cpp"), unit_text(includes, fns))
    write_if_changed(os.path.join(args.out, "entry_table.cpp"), entry_table_text(functions))
    write_if_changed(os.path.join(args.out, "stubs.S"), stubs_text(functions))
    write_if_changed(os.path.join(args.out, "ovkimx.map"), version_script_text(functions))
    write_if_changed(os.path.join(args.out, "exports.txt"), "".join(f"{fn.name}\n" for fn in functions))


if __name__ == "__main__":
    main()
