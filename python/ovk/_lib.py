"""The API description and the library: every export callable by name through
ctypes, with its argument and result types taken from the description.

The description (api.json) and libovkimx are found through the environment
variables OVK_API_JSON and OVK_LIBRARY, else through _paths.py, which the
build writes: absolute paths in the build tree, paths relative to this
package once installed (so an installed tree can move as a whole)."""

import ctypes
import enum
import json
import os
import re

ELEMENT_CTYPES = {
    "8u": ctypes.c_uint8, "8s": ctypes.c_int8, "16u": ctypes.c_uint16, "16s": ctypes.c_int16,
    "32u": ctypes.c_uint32, "32s": ctypes.c_int32, "64u": ctypes.c_uint64, "64s": ctypes.c_int64,
    "32f": ctypes.c_float, "64f": ctypes.c_double,
}


# Complex elements are {re, im} records in C; numpy's complex64/complex128 have
# the same layout, so images of them pass as they are.
for _code, _part in (("16sc", ctypes.c_int16), ("32sc", ctypes.c_int32), ("32fc", ctypes.c_float),
                     ("64fc", ctypes.c_double)):
    ELEMENT_CTYPES[_code] = type(f"Ovk{_code}", (ctypes.Structure,), {"_fields_": [("re", _part), ("im", _part)]})


class OvkiSize(ctypes.Structure):
    """An image region, passed by value: OvkiSize(width, height)."""
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int)]


BASE_CTYPES = {"int": ctypes.c_int, "unsigned int": ctypes.c_uint, "float": ctypes.c_float,
               "double": ctypes.c_double, "void": None, "OvkiSize": OvkiSize}
BASE_CTYPES.update((f"Ovk{code}", t) for code, t in ELEMENT_CTYPES.items())


def _locate():
    here = os.path.dirname(os.path.abspath(__file__))
    try:
        from . import _paths
    except ImportError:  # a source checkout: only the environment can say
        _paths = None
    found = []
    for var, attr in (("OVK_LIBRARY", "LIBRARY"), ("OVK_API_JSON", "API_JSON")):
        path = os.environ.get(var) or (_paths and os.path.join(here, getattr(_paths, attr)))
        if not path:
            raise ImportError(f"ovk: set {var}, or import the package the build staged (build/python)")
        found.append(os.path.normpath(path))
    return found


def _load_library(path):
    # libovkimx needs libovkcore; an installed copy carries no run path, so the
    # core library next to it is loaded first (globally, so that the image
    # library's reference resolves to it). The real file is looked at too, for
    # a symbolic link such as the build's AVX2 sibling.
    core = re.sub(r"libovkim[a-z]", "libovkcore", os.path.basename(path))
    for directory in (os.path.dirname(path), os.path.dirname(os.path.realpath(path))):
        if os.path.exists(os.path.join(directory, core)):
            ctypes.CDLL(os.path.join(directory, core), mode=ctypes.RTLD_GLOBAL)
            break
    return ctypes.CDLL(path)


LIBRARY_PATH, API_JSON_PATH = _locate()
with open(API_JSON_PATH, encoding="utf-8") as _f:
    description = json.load(_f)
FUNCTIONS = {f["name"]: f for f in description["functions"]}


def _enum_class(name, members):
    cls = enum.IntEnum(name, [(m["name"], m["value"]) for m in members], module="ovk")
    cls.__doc__ = "\n".join(f"{m['name']} = {m['value']}" + (f": {m['doc']}" if m["doc"] else "")
                            for m in members)
    return cls


ENUMS = {name: _enum_class(name, members) for name, members in description.get("enums", {}).items()}
CONSTANTS = dict(description.get("constants", {}))
STATUS_NAMES = {m["value"]: m["name"] for m in description.get("enums", {}).get("OvkStatus", [])}


def ctype_of(text, count=None):
    """The ctypes type of a C type from the description: 'const Ovk8u*' ->
    POINTER(c_uint8); an array parameter decays to a pointer like in C. Enums
    are int32; records the description does not lay out pass as void*."""
    stars = text.count("*") + (count is not None)
    base = " ".join(re.sub(r"\bconst\b|\*", " ", text).split())
    if base in ENUMS:
        t = ctypes.c_int32
    elif base in BASE_CTYPES:
        t = BASE_CTYPES[base]
    elif stars:
        return ctypes.c_void_p
    else:
        raise TypeError(f"ovk: no ctypes type for '{text}'")
    if t is None:
        return ctypes.c_void_p if stars else None
    for _ in range(stars):
        t = ctypes.POINTER(t)
    return t


def prototype(f):
    params = ", ".join(f"{p['type']} {p['name']}" + (f"[{p['count']}]" if p["count"] else "")
                       for p in f["params"])
    return f"{f['returns']} {f['name']}({params or 'void'})"


class Library:
    """The exports of libovkimx as attributes: lib.ovkiAdd_8u_C1RSfs(...) takes
    the C arguments (OvkiSize records, ctypes pointers or arrays) and returns
    what C returns; a status stays a plain int."""

    def __init__(self, path):
        self._cdll = _load_library(path)

    def __getattr__(self, name):
        f = FUNCTIONS.get(name)
        if f is None:
            raise AttributeError(f"ovk: libovkimx exports no '{name}'")
        fn = getattr(self._cdll, name)
        fn.argtypes = [ctype_of(p["type"], p["count"]) for p in f["params"]]
        fn.restype = ctypes.c_int if f["returns"] == "OvkStatus" else ctype_of(f["returns"])
        fn.__doc__ = prototype(f)
        setattr(self, name, fn)  # set up once; later lookups find the attribute
        return fn

    def __dir__(self):
        return list(FUNCTIONS)


lib = Library(LIBRARY_PATH)


def raw(name):
    """The export `name` as a ctypes function (the same object as lib.<name>)."""
    return getattr(lib, name)
