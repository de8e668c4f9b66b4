"""The array level: one function per family of the API description, built at
import. Nothing here knows a family: a call follows from the roles of the C
parameters (the rules are in the package's docstring)."""

import ctypes
import functools
import inspect
import keyword
import operator
import os
import re
import textwrap

import numpy as np

from . import _lib
from ._errors import check

DTYPES = {"8u": np.uint8, "8s": np.int8, "16u": np.uint16, "16s": np.int16, "32u": np.uint32,
          "32s": np.int32, "64s": np.int64, "32f": np.float32, "64f": np.float64,
          "32fc": np.complex64, "64fc": np.complex128}
CODES = {np.dtype(t): code for code, t in DTYPES.items()}
CHANNELS = {"C1": 1, "C3": 3, "C4": 4, "AC4": 4, "P3": 3, "P4": 4}
# Per-channel values and results: alpha has none.
VALUES = {"C1": 1, "C3": 3, "C4": 4, "AC4": 3, "P3": 3, "P4": 4}
# Python names of parameters whose registry names read badly from Python.
ALIASES = {"scaleFactor": "scale", "flip": "axis", "rndMode": "round_mode", "roundMode": "round_mode",
           "dstRoiSize": "dst_size", "pSeed": "seed"}
INPUTS, OUTPUTS = ("src", "srcPlanes", "srcdst"), ("dst", "dstPlanes", "srcdst")
KEYWORDS = ("scale", "value", "scalar", "array", "seed", "dstRoi")


def snake(name):
    """AddC -> add_c, Threshold_LTValGTVal -> threshold_lt_val_gt_val, thresholdLT -> threshold_lt."""
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", name).lower()


def keyword_of(p):
    return ALIASES.get(p["name"]) or snake(p["name"])


class Member:
    """One export as the array level sees it."""

    def __init__(self, f):
        self.f, self.name, self.params = f, f["name"], f["params"]
        self.inputs = [p for p in self.params if p["role"] in INPUTS]
        self.output = next((p for p in self.params if p["role"] in OUTPUTS), None)
        self.inplace = any(p["role"] == "srcdst" for p in self.params)
        self.layout = "".join(f["layout"])
        self.src_layout, self.dst_layout = f["layout"][0], f["layout"][-1]
        self.keywords = [p for p in self.params if p["role"] in KEYWORDS]
        self.mask = any(p["role"] == "mask" for p in self.params)
        self.src_code = (self.inputs or [self.output])[0]["elem"]
        self.dst_code = self.output["elem"] if self.output else None

    @staticmethod
    def usable(f):
        """Members left to the low level: other results than a status, bit-packed
        or integer-complex images (numpy has no such element), channel-of-interest
        layouts, and in-place forms that change the element type or write around
        their source."""
        roles = {p["role"] for p in f["params"]}
        return (f["returns"] == "OvkStatus" and all(t in DTYPES for t in f["types"])
                and all(t in CHANNELS for t in f["layout"]) and bool(roles & set(INPUTS + OUTPUTS))
                and ("I" not in f["flags"] or ("srcdst" in roles and len(set(f["types"])) == 1)))

    def given(self, p, kw, out):
        names = (p["name"], keyword_of(p))
        return next((n for n in names if n in kw), None) or (p["role"] == "dstRoi" and out is not None)


def _is_planes(x):
    return isinstance(x, (list, tuple)) and len(x) > 0 and all(isinstance(a, np.ndarray) for a in x)


def _channels(a):
    return 1 if a.ndim == 2 else a.shape[2]


def _token(x, what):
    """The layout an argument has: C1, C3, C4 (AC4 decided later) or P<n>."""
    if _is_planes(x):
        return f"P{len(x)}"
    if x.ndim not in (2, 3) or _channels(x) not in (1, 3, 4):
        raise ValueError(f"{what}: an image is (height, width) or (height, width, 1, 3 or 4); got shape {x.shape}")
    return f"C{_channels(x)}"


def _code(x):
    return CODES.get((x[0] if _is_planes(x) else x).dtype)


def _addressable(a):
    """Whether the library can read `a` in place: packed pixels, rows a positive step apart."""
    h, w = a.shape[:2]
    px = a.itemsize * (a.shape[2] if a.ndim == 3 else 1)
    packed = a.ndim == 2 or a.shape[2] == 1 or a.strides[2] == a.itemsize
    return a.flags.aligned and packed and (w <= 1 or a.strides[1] == px) and (h <= 1 or a.strides[0] >= px * w)


def _fit(a):
    return a if _addressable(a) else np.array(a, order="C")


def _step(a):
    return a.strides[0] if a.shape[0] > 1 else a.itemsize * int(np.prod(a.shape[1:]))


def _same(a, b):
    return a is b or (isinstance(a, np.ndarray) and isinstance(b, np.ndarray) and a.shape == b.shape
                      and a.strides == b.strides and a.ctypes.data == b.ctypes.data)


@functools.lru_cache(maxsize=None)
def _suffix_start(cls):
    """Where the members' names start to differ, at a word boundary (ovkAxsVertical: at V)."""
    names = [m.name for m in cls]
    cut = len(os.path.commonprefix(names))
    while cut and not all(n[cut:cut + 1].isupper() or n[cut:cut + 1].isdigit() for n in names):
        cut -= 1
    return cut


def enum_value(cls, v):
    """An enum argument: the IntEnum, an int, or a case-insensitive unique prefix
    of a member's name after the part all members share ("v" -> ovkAxsVertical)."""
    if not isinstance(v, str):
        return operator.index(v)
    cut, key = _suffix_start(cls), v.lower()
    hits = ([m for m in cls if m.name[cut:].lower() == key]
            or [m for m in cls if m.name[cut:].lower().startswith(key)])
    if len(hits) != 1:
        raise ValueError(f"{v!r} names {'several' if hits else 'no'} {cls.__name__} member(s): "
                         + ", ".join(m.name for m in (hits or cls)))
    return int(hits[0])


def _argument(p, v):
    """A scalar, value or array parameter from its Python value."""
    base = " ".join(re.sub(r"\bconst\b", " ", p["type"]).split())
    t = _lib.ctype_of(base)

    def one(x):
        if base in _lib.ENUMS:
            return enum_value(_lib.ENUMS[base], x)
        if issubclass(t, ctypes.Structure):
            x = complex(x)
            return t(x.real, x.imag)
        return float(x) if t in (ctypes.c_float, ctypes.c_double) else operator.index(x)

    if p["count"] is None:
        return one(v)
    values = list(v) if np.iterable(v) else [v] * p["count"]  # one value serves every channel
    if len(values) != p["count"]:
        raise ValueError(f"{p['name']} takes {p['count']} values, got {len(values)}")
    return (t * p["count"])(*map(one, values))


def traits(m, kw):
    """The member's traits, with those that hold only for some values of a
    parameter (traitsWhen, such as a mirror's diagonal axes transposing) when the
    call gives one of those values."""
    found = set(m.f["traits"])
    for t in m.f.get("traitsWhen", []):
        p = next(p for p in m.params if p["name"] == t["when"]["param"])
        name = m.given(p, kw, None)
        if name and _argument(dict(p, count=None), kw[name]) in t["when"]["values"]:
            found.add(t["trait"])
    return found


def _select(fname, members, images, out, kw, ac4, dtype, layout, mask):
    ref = images[0] if images else out
    code, token = _code(ref), _token(ref, fname)
    pool = [m for m in members if len(m.inputs) == len(images)]
    if not pool:
        counts = sorted({len(m.inputs) for m in members})
        raise TypeError(f"{fname} takes {' or '.join(map(str, counts))} image(s), got {len(images)}")
    typed = [m for m in pool if m.src_code == code]
    if not typed:
        raise TypeError(f"{fname}: no member for {np.dtype((ref[0] if _is_planes(ref) else ref).dtype)}; "
                        f"members: {', '.join(m.name for m in pool)}")
    if token == "C4":  # four channels: C4 unless asked for AC4 or there is no C4 member
        token = "AC4" if ac4 or not any(m.src_layout == "C4" for m in typed) else "C4"
    fit = [m for m in typed if m.src_layout == token]
    if dtype is not None and images:
        fit = [m for m in fit if m.dst_code == CODES.get(np.dtype(dtype))]
    if out is not None and images:
        fit = [m for m in fit if m.dst_code == _code(out) and (
            _channels(out) == 1 if "writesMask" in traits(m, kw)
            else out.ndim == 3 and out.shape[0] == CHANNELS[m.dst_layout] if m.dst_layout[0] == "P"
            else _channels(out) == CHANNELS[m.dst_layout])]
    fit = [m for m in fit if m.mask == (mask is not None) and (layout is None or m.layout.upper() == layout.upper())]
    if not fit:
        raise ValueError(f"{fname}: no member fits these arguments ({token} source); members for this type: "
                         + ", ".join(m.name for m in typed))
    inplace = [m for m in fit if m.inplace]
    outplace = [m for m in fit if not m.inplace]
    # In place when the destination is the image the in-place form overwrites,
    # or when the family has only in-place members.
    wants = out is not None and images and _same(out, images[-1])
    fit = inplace if (wants and inplace) or not outplace else outplace

    def score(m):  # every parameter given, most keywords used, plain layout, fewest parameters
        given = [p for p in m.keywords if m.given(p, kw, out)]
        missing = [p for p in m.keywords if p["role"] != "scale" and not m.given(p, kw, out)]
        return (not missing, len(given), len(m.f["layout"]) == 1, -len(m.keywords))

    best = max(score(m) for m in fit)
    chosen = [m for m in fit if score(m) == best]
    if len(chosen) > 1:
        raise ValueError(f"{fname}: several members fit ({', '.join(m.name for m in chosen)}); "
                         "choose with layout= or out=")
    return chosen[0]


def _destination_shape(m, hw, kw, out):
    active = traits(m, kw)
    if "transposed" in active:
        hw = hw[::-1]
    for p in (p for p in m.params if p["role"] == "dstRoi"):  # a border copy's destination size
        name = m.given(p, kw, None)
        if out is None and not name:
            raise TypeError(f"{m.name}: give the destination size as {keyword_of(p)}=(height, width) or out=")
        hw = out.shape[:2] if out is not None else tuple(kw[name])
    n = 1 if "writesMask" in active else CHANNELS[m.dst_layout]
    return (n,) + tuple(hw) if m.dst_layout[0] == "P" else tuple(hw) + ((n,) if n > 1 else ())


def _run(fname, m, images, out, kw, mask):
    ref = images[0] if images else out
    hw = (ref[0] if _is_planes(ref) else ref).shape[:2]
    for p, img in zip(m.inputs, images):
        if _code(img) != p["elem"]:
            raise TypeError(f"{m.name}: {p['name']} must be {np.dtype(DTYPES[p['elem']])}")
        if any(a.shape[:2] != hw for a in (img if _is_planes(img) else [img])):
            raise ValueError(f"{m.name}: {p['name']} must have the first image's size {hw}")
    dtype = DTYPES[m.dst_code] if m.output else None
    if m.output:
        shape = _destination_shape(m, hw, kw, out)
        if out is None:
            if m.inplace:
                out = np.array(images[-1], order="C")
            elif m.dst_layout == "AC4" and images and not _is_planes(images[0]) and images[0].shape == shape:
                out = images[0].astype(dtype)  # alpha starts as the first source's
            else:
                out = np.zeros(shape, dtype)  # parts a member leaves alone read as zero
        else:
            c = _channels(out) if out.ndim in (2, 3) else 0
            if (out.shape if m.dst_layout[0] == "P" else out.shape[:2] + ((c,) if c != 1 else ())) != shape:
                raise ValueError(f"{m.name}: out must have shape {shape}, has {out.shape}")
            if m.inplace and not _same(out, images[-1]):
                out[...] = images[-1]
    # The destination is written directly when the library can address it and
    # no source overlaps it, else through a copy that goes back afterwards.
    target = out
    if m.output:
        planes = list(out) if m.dst_layout[0] == "P" else [out]
        overlaps = not m.inplace and any(np.may_share_memory(out, a) for img in images
                                         for a in (img if _is_planes(img) else [img]))
        if overlaps or not all(_addressable(a) for a in planes) or len({_step(a) for a in planes}) > 1:
            target = np.array(out, order="C")
    arrays, results, buffers = {}, [], []
    for p, img in zip(m.inputs, images):
        if p["role"] == "srcdst":
            arrays[p["name"]] = target
        elif _is_planes(img):
            planes = [_fit(a) for a in img]
            arrays[p["name"]] = planes if len({_step(a) for a in planes}) == 1 else [np.array(a) for a in img]
        else:
            arrays[p["name"]] = _fit(img)
    if m.output:
        arrays[m.output["name"]] = list(target) if m.dst_layout[0] == "P" else target
    if mask is not None:
        mask = np.asarray(mask)
        if mask.shape[:2] != hw or _channels(mask) != 1:
            raise ValueError(f"{m.name}: the mask must be (height, width) = {hw}")
        arrays[next(p["name"] for p in m.params if p["role"] == "mask")] = _fit(mask.astype(np.uint8, copy=False))
    # Every C parameter from its role. An object the library would set up for
    # later calls would be one more role here, passed as a handle's pointer.
    args, used = [], set()
    for p in m.params:
        role, ptype = p["role"], _lib.ctype_of(p["type"], p["count"])
        if role in ("src", "srcdst", "dst", "mask"):
            args.append(ctypes.cast(arrays[p["name"]].ctypes.data, ptype))
        elif role in ("srcPlanes", "dstPlanes"):
            planes = arrays[p["name"]]
            args.append((ptype._type_ * len(planes))(*[ctypes.cast(a.ctypes.data, ptype._type_) for a in planes]))
        elif role == "step":
            a = arrays[p["of"]]
            args.append(_step(a[0] if isinstance(a, list) else a))
        elif role in ("roi", "srcRoi"):
            args.append(_lib.OvkiSize(hw[1], hw[0]))
        elif role == "dstRoi":
            name = m.given(p, kw, None)
            if name:
                used.add(name)
            dst = target[0] if m.dst_layout[0] == "P" else target
            args.append(_lib.OvkiSize(dst.shape[1], dst.shape[0]))
        elif role == "out":
            buf = (ptype._type_ * VALUES[m.src_layout])()
            buffers.append(buf)
            args.append(buf)
        else:
            name = m.given(p, kw, None)
            if role == "scale" and not name:
                args.append(0)  # no scaling unless asked for
                continue
            if not name:
                raise TypeError(f"{fname}: {m.name} needs {keyword_of(p)}= ({p['type']} {p['name']})")
            used.add(name)
            if role == "seed":
                buf = (ptype._type_ * 1)(operator.index(kw[name]))
                buffers.append(buf)
                args.append(buf)
            else:
                args.append(_argument(p, kw[name]))
    extra = set(kw) - used
    if extra:
        raise TypeError(f"{fname}: {m.name} takes no {', '.join(sorted(extra))}; it takes "
                        + ", ".join(keyword_of(p) for p in m.keywords))
    status = _lib.raw(m.name)(*args)
    if target is not out:
        out[...] = target
    check(status, m.name, _lib.STATUS_NAMES)
    if m.output:
        results.append(out)
    for buf in buffers:
        results.append(buf[0] if len(buf) == 1 else np.ctypeslib.as_array(buf).copy())
    return results[0] if len(results) == 1 else tuple(results)


def _signature(members):
    """What help() shows: the images of an out-of-place member in C order, then
    the keywords some member takes and the selectors that apply."""
    P = inspect.Parameter
    first = next((m for m in members if not m.inplace), members[0])
    params = [P(p["name"], P.POSITIONAL_ONLY) for p in first.inputs]
    names = dict.fromkeys(keyword_of(p) for m in members for p in m.keywords)
    params += [P(k, P.KEYWORD_ONLY, default=0 if k == "scale" else P.empty) for k in names]
    selectors = {"out": True, "ac4": any(m.src_layout == "AC4" for m in members),
                 "dtype": not first.inputs or any(m.src_code != m.dst_code for m in members),
                 "layout": any(m.src_layout != m.dst_layout for m in members),
                 "mask": any(m.mask for m in members), "shape": not first.inputs}
    params += [P(k, P.KEYWORD_ONLY, default=False if k == "ac4" else None) for k, on in selectors.items() if on]
    return inspect.Signature(params)


def _docstring(members):
    first = next((m for m in members if not m.inplace), members[0])
    lines = [textwrap.fill(d, 100) for d in dict.fromkeys(m.f["doc"] for m in members if m.f["doc"])]
    lines += ["", "Images go positionally in the order of the C parameters: "
              + (", ".join(p["name"] for p in first.inputs) or "none") + "; the first picks the member (help(ovk))."]
    aliases = {f"{keyword_of(p)} ({p['name']})" for m in members for p in m.keywords if keyword_of(p) != p["name"]}
    if aliases:
        lines.append("Keywords named after C parameters: " + ", ".join(sorted(aliases)) + ".")
    if any(m.inplace for m in members):
        lines.append("In place when out is the last image (or when the family is in place only).")
    lines += ["", "Members:"] + [f"  {_lib.prototype(m.f)}" for m in members]
    return "\n".join(lines)


def _family_function(family, members):
    pyname = snake(family) + ("_" if keyword.iskeyword(snake(family)) else "")

    def call(*images, out=None, ac4=False, dtype=None, layout=None, mask=None, shape=None, **kw):
        images = [list(x) if _is_planes(x) else np.asarray(x) for x in images]
        if not images and out is None:
            if shape is None or dtype is None:
                raise TypeError(f"{pyname}: give out= or shape= and dtype= for the image it writes")
            out = np.zeros(shape, dtype)
        elif shape is not None:
            raise TypeError(f"{pyname}: shape= is only for families without a source image")
        m = _select(pyname, members, images, out, kw, ac4, dtype, layout, mask)
        return _run(pyname, m, images, out, kw, mask)

    call.__name__ = call.__qualname__ = pyname
    call.__module__ = "ovk"
    call.__doc__, call.__signature__ = _docstring(members), _signature(members)
    return pyname, call


def family_functions():
    """{python name: function} for every family with a member the array level can call."""
    families = {}
    for f in _lib.description["functions"]:
        if Member.usable(f):
            families.setdefault(f["family"], []).append(Member(f))
    return dict(_family_function(name, members) for name, members in families.items())
