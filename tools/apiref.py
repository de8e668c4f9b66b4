#!/usr/bin/env python3
"""Writes the API reference from the machine-readable API description
(api.json, written by apigen.py): one Markdown page per subsystem and an
index. Each family gets its description from the registry, one prototype per
signature, its parameters with their roles and valid values, the argument
checks in the order they run with their statuses, and a table of which
members exist for which types and layouts.

  apiref.py --api build/generated/api.json --out build/generated/doc/api
"""

import argparse
import json
import os
from collections import OrderedDict

ROLE_TEXT = {
    "src": "source image", "srcdst": "source and destination image (in place)", "dst": "destination image",
    "srcPlanes": "source planes", "dstPlanes": "destination planes", "step": "row step in bytes of {of}",
    "roi": "region of interest, width and height in pixels", "mask": "8u mask, one byte per pixel (nonzero: process)",
    "seed": "generator state, read and updated", "out": "result, written by the call", "scale": "results are multiplied by 2^-scaleFactor",
    "value": "constant", "array": "array", "scalar": "",
}
CHECK_TEXT = {
    "pointers": "a null pointer among {params}", "size": "a side of the region below 1",
    "steps": "a step below 1 (or not a multiple of the element size where required)",
    "rowSteps": "a step shorter than a row of the region", "minWidth": "a width below {min}",
    "minHeight": "a height below {min}",
}


def status_names(description):
    return {m["value"]: m["name"] for m in description.get("enums", {}).get("OvkStatus", [])}


def prototype(fn):
    params = ", ".join(f"{p['type']} {p['name']}" + (f"[{p['count']}]" if p["count"] else "") for p in fn["params"])
    return f"{fn['returns']} {fn['name']}({params or 'void'});"


def domain_text(d):
    if not d:
        return ""
    if "values" in d:
        return ", ".join(str(v) for v in d["values"])
    if d.get("nonzero"):
        return "not 0"
    low, high = d.get("min"), d.get("max")
    return f"{low} to {high}" if high is not None else f"{low} or more"


def check_text(check, statuses):
    if check["check"] == "param":
        what = f"`{check['param']}` outside its valid values"
    else:
        what = CHECK_TEXT[check["check"]].format(params=", ".join(f"`{p}`" for p in check.get("params", [])),
                                                 min=check.get("min", ""))
    if "when" in check:
        what += f" (only when `{check['when']['param']}` is {', '.join(map(str, check['when']['values']))})"
    code = check["status"]
    if code >= 0:
        return f"{what}: nothing is written, status {code} `{statuses.get(code, '?')}`"
    return f"{what}: {code} `{statuses.get(code, '?')}`"


def family_section(name, members, statuses, enums):
    out = [f"## {name}", ""]
    for doc in OrderedDict.fromkeys(m["doc"] for m in members):
        if doc:
            out += [doc, ""]
    by_shape = OrderedDict()
    for m in members:
        by_shape.setdefault((m["shape"], len(m["params"])), m)
    out += ["```c"] + [prototype(m) for m in by_shape.values()] + ["```", ""]
    params = OrderedDict()
    for m in members:
        for p in m["params"]:
            params.setdefault(p["name"], p)
    out += ["| Parameter | Meaning | Valid values |", "|---|---|---|"]
    for p in params.values():
        meaning = ROLE_TEXT.get(p["role"], p["role"]).format(of=f"`{p.get('of')}`")
        if p["type"] in enums:
            meaning = (meaning + "; " if meaning else "") + f"`{p['type']}`: " + ", ".join(
                f"`{e['name']}` ({e['value']})" for e in enums[p["type"]])
        out.append(f"| `{p['name']}` | {meaning} | {domain_text(p.get('domain'))} |")
    out.append("")
    for checks in OrderedDict.fromkeys(json.dumps(m["checks"]) for m in members):
        checks = json.loads(checks)
        if checks:
            out.append("Argument checks, in the order they run (the first that fails gives its status and nothing is written):")
            out += [f"{i}. {check_text(c, statuses)}" for i, c in enumerate(checks, 1)]
            out.append("")
    columns = list(OrderedDict.fromkeys("".join(m["layout"]) + m["flags"] for m in members))
    rows = list(OrderedDict.fromkeys("".join(m["types"]) for m in members))
    have = {("".join(m["types"]), "".join(m["layout"]) + m["flags"]) for m in members}
    out.append(f"Members ({len(members)}): `{members[0]['name'].split('_')[0]}_<types>_<layout and flags>`")
    out.append("")
    out += ["| types | " + " | ".join(c or "-" for c in columns) + " |", "|---" * (len(columns) + 1) + "|"]
    for r in rows:
        out.append(f"| {r or '-'} | " + " | ".join("x" if (r, c) in have else "" for c in columns) + " |")
    out.append("")
    return out


def write(path, lines):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    text = "\n".join(lines) + "\n"
    if os.path.exists(path) and open(path, encoding="utf-8").read() == text:
        return
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--api", required=True)
    ap.add_argument("--out", required=True)
    args = ap.parse_args()
    with open(args.api, encoding="utf-8") as f:
        description = json.load(f)
    statuses = status_names(description)
    index = ["# ovk API reference", "",
             "Generated from the API registry. Types, status codes and enumerations: `<ovk/ovkdefs.h>`.", ""]
    for sub in description["subsystems"]:
        families = OrderedDict()
        for fn in description["functions"]:
            if fn["subsystem"] == sub["name"]:
                families.setdefault(fn["family"], []).append(fn)
        if not families:
            continue
        count = sum(len(v) for v in families.values())
        page = [f"# {sub['title'].capitalize()}", "",
                f"Header `<ovk/ovki_{sub['name']}.h>`, {count} functions in {len(families)} families: "
                + ", ".join(f"[{n}](#{n.lower()})" for n in families) + ".", ""]
        for name, members in families.items():
            page += family_section(name, members, statuses, description.get("enums", {}))
        write(os.path.join(args.out, f"{sub['name']}.md"), page)
        index.append(f"- [{sub['title'].capitalize()}]({sub['name']}.md): {count} functions, " + ", ".join(families))
    index += ["", "## Status codes", "", "| Code | Name | Meaning |", "|---|---|---|"]
    for m in description.get("enums", {}).get("OvkStatus", []):
        index.append(f"| {m['value']} | `{m['name']}` | {m['doc']} |")
    write(os.path.join(args.out, "index.md"), index)


if __name__ == "__main__":
    main()
