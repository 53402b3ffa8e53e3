# SPDX-License-Identifier: MIT
"""The TypeScript types of the contract."""

import json
import re

from engine.dryrun import listed
from schemas import as_kind

HEAD = "// SPDX-License-Identifier: MIT\n// What the router's objects look like. Made from the contract by contract/make: do not edit.\n"


def text(contract):
    parts = [HEAD]
    gets, sets, asks = [], [], []
    for name, facts in contract.objects.items():
        kind = name[0].upper() + name[1:]
        parts.append(f"/** {facts['about']} */")
        if "get" in facts:
            parts.append(interface(f"{kind}", facts["get"]["reply"], True))
            gets.append(f"  {name}: {kind};")
            if "ask" in facts["get"]:
                parts.append(f"/** What a get of \"{name}\" may ask for. */")
                parts.append(interface(f"{kind}Request", facts["get"]["ask"], False))
                asks.append(f"  {name}: {kind}Request;")
        if "set" in facts:
            if "get" in facts:
                parts.append(f"/** What a set of \"{name}\" takes. */")
            if "value" in facts["set"]:
                parts.append(f"export type {kind}Settings = {type_of(facts['set']['value'], False, 0)};\n")
            else:
                parts.append(interface(f"{kind}Settings", facts["set"]["keys"], False))
            sets.append(f"  {name}: {kind}Settings;")
    parts.append("/** The objects that can be read. */\nexport interface Objects {\n" + "\n".join(gets) + "\n}\n")
    parts.append("/** Of these a get may say what it wants. */\nexport interface Requests {\n" + "\n".join(asks) + "\n}\n")
    parts.append("/** The objects that can be changed. */\nexport interface Settings {\n" + "\n".join(sets) + "\n}\n")
    rows = "".join(f"  {json.dumps(' '.join(key))}: {json.dumps(cause)},\n" for key, cause in contract.causes().items())
    parts.append("/** Why a request failed: by action, object and message; the object is empty where none refused. */\nexport const causes: Record<string, string> = {\n" + rows + "};\n")
    order = json.dumps(contract.order)
    parts.append(f"/** All objects, in the order in which the router handles them. */\nexport const order: readonly string[] = {order};\n")
    return "\n".join(parts)


def interface(name, keys, is_reply):
    return f"export interface {name} {members(keys, is_reply, 0)}\n"


def members(keys, is_reply, depth):
    pad = "  " * (depth + 1)
    lines = []
    for key, facts in keys.items():
        optional = "only" in facts if is_reply else facts.get("needed") is not True
        comment = note(facts)
        if comment:
            lines.append(f"{pad}/** {comment} */")
        lines.append(f"{pad}{key}{'?' if optional else ''}: {type_of(facts, is_reply, depth + 1)};")
    return "{\n" + "\n".join(lines) + "\n" + "  " * depth + "}"


def note(facts):
    parts = [facts.get("is", "")]
    if "values" in facts and list(facts["values"].values()) != ["always"]:
        parts.append(", ".join(f"{value} {meaning}" for value, meaning in facts["values"].items()))
    if "unit" in facts:
        parts.append("Unit: " + facts["unit"])
    return re.sub(r"\*/", "* /", ". ".join(filter(None, parts)))


def type_of(facts, is_reply, depth):
    kinds = listed(facts["type"])
    if kinds == ["any"] and "usual" not in facts:
        return "unknown"
    if "same" in facts:
        return "Topology"
    if "usual" in facts:
        return members({key: {**below, "only": "often"} for key, below in facts["usual"].items()}, True, depth).replace("Topology[]", "MeshStatus[\"topology\"][]")
    if facts.get("values") == {"": "always"}:  # empty here, but not in the reply to a scan
        return "string"
    if "values" in facts and "open" not in facts and (is_reply or "beyond" not in facts):
        return " | ".join(json.dumps(value) for kind in kinds for value in as_kind(facts["values"], kind))
    if "numbered" in facts:
        return f"Record<string, {type_of(facts['of'], is_reply, depth)}>"
    if "keys" in facts:
        return members(facts["keys"], is_reply, depth)
    if "each" in facts:
        return "[" + ", ".join(f"{each['name']}{'' if is_reply or not at else '?'}: {type_of(each, is_reply, depth)}" for at, each in enumerate(facts["each"])) + "]"
    if "of" in facts:
        below = type_of(facts["of"], is_reply, depth)
        return f"({below})[]" if " | " in below and not below.startswith(("{", "[")) else f"{below}[]"
    return " | ".join(kinds)
