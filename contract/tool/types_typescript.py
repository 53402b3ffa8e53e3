# SPDX-License-Identifier: MIT
"""The TypeScript types of the contract."""

import json
import re

from dryrun import listed
from schemas import as_kind

HEAD = "// SPDX-License-Identifier: MIT\n// What the router's objects look like. Made from the contract by contract/make: do not edit.\n"


def text(contract):
    parts = [HEAD]
    gets, sets, asks = [], [], []
    for name, spec in contract.objects.items():
        kind = name[0].upper() + name[1:]
        parts.append(f"/** {spec['about']} */")
        if "get" in spec:
            parts.append(interface(f"{kind}", spec["get"]["reply"], True))
            gets.append(f"  {name}: {kind};")
            if "ask" in spec["get"]:
                parts.append(f"/** What a get of \"{name}\" may ask for. */")
                parts.append(interface(f"{kind}Request", spec["get"]["ask"], False))
                asks.append(f"  {name}: {kind}Request;")
        if "set" in spec:
            if "get" in spec:
                parts.append(f"/** What a set of \"{name}\" takes. */")
            if "value" in spec["set"]:
                parts.append(f"export type {kind}Settings = {type_of(spec['set']['value'], False, 0)};\n")
            else:
                parts.append(interface(f"{kind}Settings", spec["set"]["keys"], False))
            sets.append(f"  {name}: {kind}Settings;")
    parts.append("/** The objects that can be read. */\nexport interface Objects {\n" + "\n".join(gets) + "\n}\n")
    parts.append("/** Of these a get may say what it wants. */\nexport interface Requests {\n" + "\n".join(asks) + "\n}\n")
    parts.append("/** The objects that can be changed. */\nexport interface Settings {\n" + "\n".join(sets) + "\n}\n")
    causes = {}
    for name, action, step in contract.refusals():
        causes.setdefault(f"{action} {name} {step['refuse']}", [])
        if step["cause"] not in causes[f"{action} {name} {step['refuse']}"]:
            causes[f"{action} {name} {step['refuse']}"].append(step["cause"])
    rows = "".join(f"  {json.dumps(key)}: {json.dumps('; '.join(value))},\n" for key, value in causes.items())
    parts.append("/** Why an object refused: by action, object and message. */\nexport const causes: Record<string, string> = {\n" + rows + "};\n")
    order = json.dumps(contract.order)
    parts.append(f"/** All objects, in the order in which the router handles them. */\nexport const order: readonly string[] = {order};\n")
    return "\n".join(parts)


def interface(name, keys, is_reply):
    return f"export interface {name} {members(keys, is_reply, 0)}\n"


def members(keys, is_reply, depth):
    pad = "  " * (depth + 1)
    lines = []
    for key, spec in keys.items():
        optional = "only" in spec if is_reply else spec.get("needed") is not True
        comment = note(spec)
        if comment:
            lines.append(f"{pad}/** {comment} */")
        lines.append(f"{pad}{key}{'?' if optional else ''}: {type_of(spec, is_reply, depth + 1)};")
    return "{\n" + "\n".join(lines) + "\n" + "  " * depth + "}"


def note(spec):
    parts = [spec.get("is", "")]
    if "values" in spec and list(spec["values"].values()) != ["always"]:
        parts.append(", ".join(f"{value} {meaning}" for value, meaning in spec["values"].items()))
    if "unit" in spec:
        parts.append("Unit: " + spec["unit"])
    return re.sub(r"\*/", "* /", ". ".join(filter(None, parts)))


def type_of(spec, is_reply, depth):
    kinds = listed(spec["type"])
    if kinds == ["any"] and "usual" not in spec:
        return "unknown"
    if "same" in spec:
        return "Topology"
    if "usual" in spec:
        return members({key: {**below, "only": "often"} for key, below in spec["usual"].items()}, True, depth).replace("Topology[]", "MeshStatus[\"topology\"][]")
    if spec.get("values") == {"": "always"}:  # empty here, but not in the reply to a scan
        return "string"
    if "values" in spec and "open" not in spec and (is_reply or "beyond" not in spec):
        return " | ".join(json.dumps(value) for kind in kinds for value in as_kind(spec["values"], kind))
    if "numbered" in spec:
        return f"Record<string, {type_of(spec['of'], is_reply, depth)}>"
    if "keys" in spec:
        return members(spec["keys"], is_reply, depth)
    if "each" in spec:
        return "[" + ", ".join(f"{each['name']}{'' if is_reply or not at else '?'}: {type_of(each, is_reply, depth)}" for at, each in enumerate(spec["each"])) + "]"
    if "of" in spec:
        below = type_of(spec["of"], is_reply, depth)
        return f"({below})[]" if " | " in below and not below.startswith(("{", "[")) else f"{below}[]"
    return " | ".join(kinds)
