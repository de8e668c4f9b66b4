#!/usr/bin/env python3
"""Generates the exported API of libovkimx from the registry files (*.api).

Every exported function is declared exactly once, on one line of a registry
file that sits next to the code implementing it. From those lines this script
writes:

  include/ovk/ovki_<subsystem>.h  public C prototypes, one header per subsystem
  mx_<unit>.cpp, my_<unit>.cpp   per registry file and library variant: the
                                  implementations (mx_ in the generic library,
                                  my_ in its AVX2 sibling), each a thin forward
                                  to a C++ template instance
  entry_table_mx.cpp, ..._my.cpp  one read-only slot per function, pointing at
                                  the variant's implementation
  stubs.S                         the exported symbols: jump through the slot
  ovkimx.map                      linker version script (only the API is global)
  exports.txt                     the exported names, one per line
  api.json                        the machine-readable API: every export with its
                                  family, types, layout, flags, parameters and their
                                  roles, argument-check plan, traits and in-place
                                  partner (read by the test harness and the tools)

Registry syntax (one statement per line, '#' starts a comment):

  subsystem arith                 public header the prototypes go to
  include "arith/add.hpp"         C++ header that defines the implementations
  ## Text                         documentation copied into the public header
  shape Name<T, U> RET (PARAMS)   a reusable signature; T, U are placeholders
  ovkiAdd_8u_C1RSfs  Name<Ovk8u,Ovk16s>  impl::expression<Ovk8u, C1>
  ovkiAdd_8u_C1IRSfs Name<Ovk8u>         inplace

The implementation expression is looked up in namespace ovk and called with
the function's arguments unchanged. `inplace` makes the function call its
out-of-place partner (the same name without the I flag) with the
source/destination passed for the partner's last source and its destination,
so that every in-place form shares its partner's code. Shapes are shared by
all registry files; the common ones live in src/frame/shapes.api.

Statements that describe the functions after them (until the file says
otherwise), for the API description:

  checks pointers size steps rndMode   argument checks in the order they run:
                                  `pointers` (every pointer parameter, or
                                  `pointers:pSrc,pDst` for some), `size`,
                                  `steps`, `rowSteps` (every step at least
                                  the bytes of an ROI row, so never negative),
                                  `minWidth:N` and `minHeight:N`
                                  (a side of the ROI below N gives the size
                                  status), or a parameter's own check
                                  (default: pointers size). A check that
                                  runs only for some values of a parameter
                                  says so: `steps@flip=3,4`
  param rndMode 0..2 -213         a parameter's valid values (A..B, A.., a
                                  list V,W,... or nonzero; for an array, each
                                  element) and the status of any other value
                                  (no status: a range to draw values from)
  traits pointwise                properties the harness relies on: pointwise
                                  (each output pixel depends on the input
                                  pixels at its place only), transposed (the
                                  destination is the source's size
                                  transposed), square (the region must be
                                  square), border (source and destination
                                  sizes of a border copy), writesAlpha,
                                  writesMask (the destination is a one-channel
                                  8u mask, whatever the sources' layout),
                                  failsOnData (the values of the images can make
                                  a call with valid arguments return an error,
                                  after writing its results); a trait
                                  that holds only for some values of a parameter
                                  says so: `transposed@flip=3,4`
"""

import argparse
import json
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
TYPE_CODES = ["16sc", "32sc", "32fc", "64fc", "8u", "8s", "16u", "16s", "32u", "32s", "64s", "32f", "64f", "1u"]
TYPES_RE = re.compile(r"^(?:%s)+$" % "|".join(TYPE_CODES))
LAYOUT_RE = re.compile(r"^((?:AC4|C[1-4]|P[34]|CR)*)(.*)$")
CHECK_WORDS = ("pointers", "size", "steps", "rowSteps", "minWidth", "minHeight")
TRAIT_WORDS = ("pointwise", "transposed", "square", "border", "writesAlpha", "writesMask", "failsOnData")
STATUS_OF_CHECK = {"pointers": -8, "size": -6, "steps": -14, "rowSteps": -14, "minWidth": -6, "minHeight": -6}


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
    def __init__(self, name, ret, params, impl, unit, subsystem, where, shape="", targs=(), notes=None):
        self.name, self.ret, self.params, self.impl = name, ret, params, impl
        self.unit, self.subsystem, self.where = unit, subsystem, where
        self.shape, self.targs = shape, list(targs)
        notes = notes or {}
        self.checks, self.domains, self.traits = notes.get("checks", []), notes.get("params", {}), notes.get("traits", [])
        self.partner = None  # the out-of-place partner of an `inplace` function
        self.doc = ""  # the registry's ## text that describes it

    def param_names(self):
        return [param_name(p) for p in self.params]

    def param_list(self):
        return ", ".join(self.params) if self.params else "void"

    def arg_names(self):
        return ", ".join(self.param_names())


def param_name(p):
    return re.findall(r"([A-Za-z_][A-Za-z0-9_]*)\s*(?:\[[^\]]*\])?\s*$", p)[0]


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
    notes = {"checks": ["pointers", "size"], "params": {}, "traits": []}
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
            elif word == "checks":
                notes = dict(notes, checks=parse_checks(rest.split(), where))
            elif word == "param":
                notes = dict(notes, params=dict(notes["params"], **parse_param(rest.split(), where)))
            elif word == "traits":
                unknown = [t for t in rest.split() if t.split("@")[0] not in TRAIT_WORDS]
                if unknown:
                    raise RegistryError(f"{where}: unknown trait(s) {' '.join(unknown)}")
                notes = dict(notes, traits=rest.split())
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
                entry = [name, m.group(2), m.group(3) or "", m.group(4).strip(), subsystem, where, notes]
                pending.append(entry)
                docs.append(("fn", entry))
    return unit, includes, pending, docs


def parse_checks(items, where):
    for item in items:
        if not re.match(r"^[A-Za-z_][A-Za-z0-9_]*(:[A-Za-z0-9_,]+)?(@[A-Za-z_][A-Za-z0-9_]*=-?\d+(,-?\d+)*)?$", item):
            raise RegistryError(f"{where}: cannot read check '{item}'")
        word, _, arg = item.split("@")[0].partition(":")
        if word in ("size", "steps", "rowSteps") and arg:
            raise RegistryError(f"{where}: '{item}': size and steps take no argument")
        if word in ("minWidth", "minHeight") and not arg.isdigit():
            raise RegistryError(f"{where}: '{item}': {word} takes the smallest side, {word}:N")
    return items


def split_check(item):
    """'steps@flip=3,4' -> ('steps', '', {'param': 'flip', 'values': [3, 4]})"""
    body, _, cond = item.partition("@")
    word, _, arg = body.partition(":")
    when = None
    if cond:
        name, _, values = cond.partition("=")
        when = {"param": name, "values": [int(v) for v in values.split(",")]}
    return word, arg, when


def parse_param(words, where):
    """param NAME DOMAIN [STATUS] -> {NAME: {"domain": ..., "status": ...}}"""
    if len(words) not in (2, 3):
        raise RegistryError(f"{where}: param takes a name, a domain and an optional status")
    name, text = words[0], words[1]
    m = re.match(r"^(-?\d+)\.\.(-?\d+)?$", text)
    if m:
        domain = {"min": int(m.group(1))}
        if m.group(2) is not None:
            domain["max"] = int(m.group(2))
    elif text == "nonzero":
        domain = {"nonzero": True}
    elif re.match(r"^-?\d+(,-?\d+)*$", text):
        domain = {"values": [int(v) for v in text.split(",")]}
    else:
        raise RegistryError(f"{where}: cannot read the domain '{text}'")
    return {name: {"domain": domain, "status": int(words[2]) if len(words) == 3 else None}}


def bind_all(parsed, shapes):
    """Turns the unbound function lines of every file into Functions."""
    result = []
    for unit, includes, pending, docs in parsed:
        bound = {}
        for name, shape_name, targs, impl, subsystem, where, notes in pending:
            if shape_name not in shapes:
                raise RegistryError(f"{where}: unknown shape '{shape_name}'")
            ret, params = shapes[shape_name].bind(split_template_args(targs), where)
            bound[where] = Function(name, ret, params, impl, unit, subsystem, where, shape_name,
                                    split_template_args(targs), notes)
        fns = [bound[e[5]] for e in pending]
        bdocs = [("fn", bound[item[5]]) if kind == "fn" else (kind, item) for kind, item in docs]
        block, after_fn = [], False
        for kind, item in bdocs:  # a ## block describes every function up to the next block
            if kind == "doc":
                block = [item] if after_fn else block + [item]
                after_fn = False
            else:
                item.doc, after_fn = " ".join(block), True
        result.append((unit, includes, fns, bdocs))
    return result


# ---------------------------------------------------------------------------
# The API description: names split into their parts, parameter roles, the
# in-place partners, and the lint that keeps names, shapes and templates in
# agreement.
# ---------------------------------------------------------------------------

def split_name(name):
    """ovkiDiv_Round_8u_C1RSfs -> ("Div_Round", ["8u"], ["C1"], "RSfs")"""
    parts = name[len("ovki"):].split("_")
    for i in range(1, len(parts)):
        if TYPES_RE.match(parts[i]):
            types = re.findall("|".join(TYPE_CODES), parts[i])
            m = LAYOUT_RE.match("_".join(parts[i + 1:]))
            return "_".join(parts[:i]), types, re.findall(r"AC4|C[1-4]|P[34]|CR", m.group(1)), m.group(2)
    return "_".join(parts), [], [], ""


def code_of(ctype):
    """'const Ovk16sc*' -> '16sc'; None for other types."""
    m = re.search(r"\bOvk(%s)\b" % "|".join(TYPE_CODES), ctype)
    return m.group(1) if m else None


def describe_params(fn):
    """Each parameter with its C type and its role for the harness and the tools."""
    out, last_pointer = [], None
    for text in fn.params:
        name = param_name(text)
        ctype = text[: text.rfind(name)].strip()
        count = re.search(r"\[(\d+)\]\s*$", text)
        d = {"name": name, "type": ctype, "elem": code_of(ctype), "count": int(count.group(1)) if count else None}
        pointer = "*" in ctype or count is not None
        if name.endswith("Step") and ctype == "int":
            d["role"], d["of"] = "step", last_pointer
        elif ctype == "OvkiSize":
            d["role"] = "roi" if name == "roiSize" else name.replace("Size", "")
        elif pointer and name.startswith("p"):
            if name == "pMask":
                d["role"] = "mask"
            elif name == "pSeed":
                d["role"] = "seed"
            elif count is not None and "*" in ctype:
                d["role"] = "srcPlanes" if name.startswith("pSrc") else "dstPlanes"
            elif name.startswith("pSrcDst"):
                d["role"] = "srcdst"
            elif name.startswith("pSrc"):
                d["role"] = "src"
            elif name.startswith("pDst"):
                d["role"] = "dst"
            else:
                d["role"] = "out"
                if ctype == "int*":
                    d["elem"] = "32s"  # a result read like any other (a position, a step)
            last_pointer = name
        elif name == "scaleFactor":
            d["role"] = "scale"
        elif name in ("value", "val"):
            d["role"] = "value"
        else:
            d["role"] = "array" if count is not None else "scalar"
        if name in fn.domains:
            d["domain"] = fn.domains[name]["domain"]
        out.append(d)
    return out


def image_roles(params):
    return [p for p in params if p["role"] in ("src", "srcdst", "dst", "srcPlanes", "dstPlanes")]


def resolve_inplace(fn, by_name):
    """The out-of-place partner of an in-place function and, for each of the
    partner's parameters, the in-place parameter that fills it: the
    source/destination fills the partner's last source and its destination,
    other sources fill the partner's first sources in order, steps follow
    their images and the rest go by name. None when the shapes do not fit
    that pattern."""
    family, types, layout, flags = split_name(fn.name)
    if "I" not in flags:
        return None
    partner = by_name.get(f"ovki{family}_{''.join(types)}_{''.join(layout)}{flags.replace('I', '', 1)}")
    if partner is None:
        return None
    mine, theirs = describe_params(fn), describe_params(partner)
    my_images = [p["name"] for p in image_roles(mine)]
    their_sources = [p["name"] for p in theirs if p["role"] in ("src", "srcPlanes")]
    if not my_images or mine[[p["name"] for p in mine].index(my_images[-1])]["role"] != "srcdst":
        return None
    image_map = dict(zip(their_sources[:-1], my_images[:-1]))
    if len(their_sources) != len(my_images):
        return None
    image_map[their_sources[-1]] = my_images[-1]
    for p in theirs:
        if p["role"] in ("dst", "dstPlanes"):
            image_map[p["name"]] = my_images[-1]
    step_of = {p["of"]: p["name"] for p in mine if p["role"] == "step"}
    mine_names = {p["name"] for p in mine}
    args = []
    for p in theirs:
        if p["name"] in image_map:
            args.append(image_map[p["name"]])
        elif p["role"] == "step" and p["of"] in image_map and image_map[p["of"]] in step_of:
            args.append(step_of[image_map[p["of"]]])
        elif p["name"] in mine_names:
            args.append(p["name"])
        else:
            return None
    return partner, args


def lint(fn, where):
    """The type codes and the layout in a name must agree with its shape and
    with the template arguments of its implementation."""
    family, types, layout, flags = split_name(fn.name)
    if not types:
        return
    types = ["8u" if t == "1u" else t for t in types]  # one-bit rows are bytes in C
    shape_types = {code_of(a) for a in fn.targs} - {None}
    if shape_types != set(types):
        raise RegistryError(f"{where}: {fn.name} names {'/'.join(types)} but its shape binds {'/'.join(sorted(shape_types)) or 'no type'}")
    if fn.impl != "inplace":
        impl_types = set(re.findall(r"\bOvk(%s)\b" % "|".join(TYPE_CODES), fn.impl))
        if impl_types and impl_types != set(types):
            raise RegistryError(f"{where}: {fn.name} names {'/'.join(types)} but its implementation takes {'/'.join(sorted(impl_types))}")
        impl_layouts = set(re.findall(r"\b(AC4|C[1-4]|P[34])\b", fn.impl))
        if not impl_layouts <= set(layout):
            raise RegistryError(f"{where}: {fn.name} is {''.join(layout)} but its implementation takes {' '.join(sorted(impl_layouts))}")
    counts = [int(a) for a in fn.targs if a.isdigit()]
    channels = {int(t[-1]) if t != "AC4" else 3 for t in layout if t != "CR"} | {4 if "AC4" in layout else 0}
    for n in counts:
        if n not in channels:
            raise RegistryError(f"{where}: {fn.name}: {n} values do not fit the layout {''.join(layout)}")
    if ("Sfs" in flags) != ("scaleFactor" in fn.param_names()):
        raise RegistryError(f"{where}: {fn.name}: the Sfs flag and the scaleFactor parameter must go together")
    for item in fn.checks:
        word, names, when = split_check(item)
        if word not in CHECK_WORDS and (word not in fn.domains or fn.domains[word]["status"] is None):
            raise RegistryError(f"{where}: {fn.name}: check '{word}' needs a 'param {word} DOMAIN STATUS' line")
        for n in [n for n in (names.split(",") if word == "pointers" else []) if n] + ([when["param"]] if when else []):
            if n not in fn.param_names():
                raise RegistryError(f"{where}: {fn.name} has no parameter '{n}' to check")


def describe(fn):
    family, types, layout, flags = split_name(fn.name)
    params = describe_params(fn)
    checks = []
    for item in fn.checks:
        word, arg, when = split_check(item)
        if word == "pointers":
            chosen = arg.split(",") if arg else [p["name"] for p in params if "*" in p["type"] or p["count"] is not None]
            check = {"check": "pointers", "status": -8, "params": chosen}
        elif word in CHECK_WORDS:
            check = {"check": word, "status": STATUS_OF_CHECK[word]}
            if arg:
                check["min"] = int(arg)
        else:
            check = {"check": "param", "param": word, "status": fn.domains[word]["status"]}
        if when:
            check["when"] = when
        checks.append(check)
    d = {"name": fn.name, "family": family, "subsystem": fn.subsystem, "unit": fn.unit, "types": types,
         "layout": layout, "flags": flags, "shape": fn.shape, "returns": fn.ret, "params": params,
         "checks": checks if fn.ret == "OvkStatus" else [], "traits": [t for t in fn.traits if "@" not in t],
         "doc": fn.doc}
    conditional = [split_check(t) for t in fn.traits if "@" in t]
    if conditional:
        d["traitsWhen"] = [{"trait": word, "when": when} for word, _, when in conditional]
    if fn.partner:
        d["inplace"] = {"partner": fn.partner[0].name, "args": fn.partner[1]}
    return d


CHUNK = 40  # template instances per generated unit, so that large families compile in parallel


def chunks_of(parsed):
    """The generated units: each registry file's functions in chunks of at
    most CHUNK instances (in-place delegations cost nothing and ride along)."""
    for unit, includes, fns, _ in parsed:
        chunk, count, k = [], 0, 0
        for fn in fns:
            if count == CHUNK and fn.impl != "inplace":
                yield includes, f"{unit}_{k}", chunk
                chunk, count, k = [], 0, k + 1
            chunk.append(fn)
            count += fn.impl != "inplace"
        if chunk:
            yield includes, f"{unit}_{k}", chunk


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


# The library variants built from the same sources: the generic x86-64
# library (mx) and its sibling compiled for AVX2 (my). Each has its own
# implementation names, so that both could later share one library.
VARIANTS = ("mx", "my")


def unit_text(includes, functions, v):
    out = [f"// {GENERATED}", f"// The {v}_ implementations of one registry file: each forwards to its template instance."]
    for inc in includes:
        out.append(f'#include "{inc}"')
    out.append("")
    out.append("namespace ovk {")
    for fn in functions:
        if fn.impl == "inplace":  # the partner's code, reached by a call it cannot inline
            call = f"{v}_{fn.partner[0].name}({', '.join(fn.partner[1])})"
            out.append(f'extern "C" __attribute__((visibility("hidden"))) {fn.partner[0].ret} {v}_{fn.partner[0].name}({fn.partner[0].param_list()});')
        else:
            call = f"{fn.impl}({fn.arg_names()})"
        body = f"return {call};" if fn.ret != "void" else f"{call};"
        out.append(f'extern "C" __attribute__((visibility("hidden"), noinline)) {fn.ret} {v}_{fn.name}({fn.param_list()})')
        out.append(f"{{\n    {body}\n}}")
    out.append("}  // namespace ovk")
    out.append("")
    return "\n".join(out)


def entry_table_text(functions, v):
    out = [f"// {GENERATED}",
           "// The entry table: one slot per exported function, set at build time to the",
           "// implementation of the same name and never written afterwards (it lives in",
           "// relocation-read-only memory). The exported stubs jump through these slots.",
           '#include <ovk/ovkdefs.h>', ""]
    for fn in functions:
        alias = f"{fn.name}_fn"
        out.append(f"using {alias} = {fn.ret}({fn.param_list()});")
        out.append(f'extern "C" {alias} {v}_{fn.name};')
        out.append(f'extern "C" __attribute__((visibility("hidden"))) {alias}* const {fn.name}_arraddr;')
        out.append(f"{alias}* const {fn.name}_arraddr = &{v}_{fn.name};")
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


def read_definitions(paths):
    """The enumerations and integer constants of the public headers written
    by hand, for the description: {"enums": {name: [{name, value, doc}]},
    "constants": {name: value}} (processor feature bits as 1ULL << n)."""
    text = ""
    for path in paths:
        with open(path, encoding="utf-8") as f:
            text += f.read() + "\n"
    enums = {}
    for m in re.finditer(r"typedef OVK_ENUM\((\w+)\)\s*\{(.*?)\}\s*\w+;", text, re.S):
        members = []
        for e in re.finditer(r"(\w+)\s*=\s*(-?\d+)\s*,?[ \t]*(?:/\*(.*?)\*/)?", m.group(2)):
            members.append({"name": e.group(1), "value": int(e.group(2)), "doc": (e.group(3) or "").strip()})
        enums[m.group(1)] = members
    constants = {}
    for m in re.finditer(r"^#define\s+(\w+)\s+\(?\s*(?:\(int\))?\s*(0x[0-9A-Fa-f]+|-?\d+)\)?", text, re.M):
        value = int(m.group(2), 0)
        constants[m.group(1)] = value - (1 << 32) if value >= 1 << 31 else value  # int constants
    for m in re.finditer(r"^#define\s+(\w+)\s+\(1ULL\s*<<\s*(\d+)\)", text, re.M):
        constants[m.group(1)] = 1 << int(m.group(2))
    return {"enums": enums, "constants": constants}


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--root", required=True, help="source directory the registry files live under")
    ap.add_argument("--out", required=True, help="output directory")
    ap.add_argument("--defs", action="append", default=[], help="a hand-written public header whose enumerations and constants go into the description")
    ap.add_argument("--list-units", action="store_true", help="print the unit names and exit")
    ap.add_argument("registries", nargs="+")
    args = ap.parse_args()

    try:
        shapes = {}
        parsed = bind_all([parse_file(p, args.root, shapes) for p in sorted(args.registries)], shapes)
    except RegistryError as e:
        sys.exit(f"apigen: {e}")
    if args.list_units:
        print("\n".join(name for _, name, _ in chunks_of(parsed)))
        return

    functions, seen = [], {}
    for _, _, fns, _ in parsed:
        for fn in fns:
            if fn.name in seen:
                sys.exit(f"apigen: {fn.where}: {fn.name} already declared at {seen[fn.name]}")
            seen[fn.name] = fn.where
            functions.append(fn)

    by_name = {fn.name: fn for fn in functions}
    try:
        for fn in functions:
            lint(fn, fn.where)
            fn.partner = resolve_inplace(fn, by_name)
            if fn.impl == "inplace" and fn.partner is None:
                raise RegistryError(f"{fn.where}: {fn.name} is 'inplace' but has no out-of-place partner it fits")
    except RegistryError as e:
        sys.exit(f"apigen: {e}")

    for subsystem, title in SUBSYSTEMS:
        entries = []
        for unit, _, fns, docs in parsed:
            if fns and fns[0].subsystem == subsystem:
                if entries:
                    entries.append(("break", None))
                entries += docs
        write_if_changed(os.path.join(args.out, "include", "ovk", f"ovki_{subsystem}.h"),
                         header_text(subsystem, title, entries))
    for v in VARIANTS:
        for includes, name, fns in chunks_of(parsed):
            write_if_changed(os.path.join(args.out, f"{v}_{name}.cpp"), unit_text(includes, fns, v))
        write_if_changed(os.path.join(args.out, f"entry_table_{v}.cpp"), entry_table_text(functions, v))
    write_if_changed(os.path.join(args.out, "stubs.S"), stubs_text(functions))
    write_if_changed(os.path.join(args.out, "ovkimx.map"), version_script_text(functions))
    write_if_changed(os.path.join(args.out, "exports.txt"), "".join(f"{fn.name}\n" for fn in functions))
    description = {"functions": [describe(fn) for fn in functions],
                   "subsystems": [{"name": n, "title": t} for n, t in SUBSYSTEMS]}
    if args.defs:
        description.update(read_definitions(args.defs))
    write_if_changed(os.path.join(args.out, "api.json"), json.dumps(description, separators=(",", ":")) + "\n")


if __name__ == "__main__":
    main()
