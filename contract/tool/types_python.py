# SPDX-License-Identifier: MIT
"""The Python types of the contract: a TypedDict for each object."""

import json

from engine.dryrun import listed
from schemas import as_kind

HEAD = '''# SPDX-License-Identifier: MIT
"""What the router's objects look like. Made from the contract by contract/make: do not edit."""

# fmt: off
from __future__ import annotations

from typing import Any, Dict, List, Literal, Sequence, TypedDict, Union

'''


def text(contract):
    made = Maker()
    gets, sets = [], []
    for name, facts in contract.objects.items():
        kind = name[0].upper() + name[1:]
        if "get" in facts:
            made.typed_dict(kind, facts["about"], facts["get"]["reply"], True)
            gets.append((name, kind))
            if "ask" in facts["get"]:
                made.typed_dict(f"{kind}Request", f'What a get of "{name}" may ask for.', facts["get"]["ask"], False)
        if "set" in facts:
            if "value" in facts["set"]:
                made.parts.append(f"{kind}Settings = {made.type_of(facts['set']['value'], False, kind)}\n\n")
            else:
                made.typed_dict(f"{kind}Settings", f'What a set of "{name}" takes.', facts["set"]["keys"], False)
            sets.append((name, f"{kind}Settings"))
    made.parts.append("class Objects(TypedDict, total=False):\n    \"\"\"The objects that can be read.\"\"\"\n\n" + "".join(f"    {name}: {kind}\n" for name, kind in gets) + "\n\n")
    made.parts.append("class Settings(TypedDict, total=False):\n    \"\"\"The objects that can be changed.\"\"\"\n\n" + "".join(f"    {name}: {kind}\n" for name, kind in sets) + "\n\n")
    rows = "".join(f"    ({', '.join(map(json.dumps, key))}): {json.dumps(cause)},\n" for key, cause in contract.causes().items())
    made.parts.append(f"# Why a request failed: by action, object and message; the object is \"\" where none refused.\nCAUSES = {{\n{rows}}}\n\n")
    made.parts.append(f"# All objects, in the order in which the router handles them.\nORDER = {json.dumps(contract.order)}\n")
    return HEAD + "\n" + "".join(made.parts)


class Maker:
    """Collects classes; those of values within an object stand before it."""

    def __init__(self):
        self.parts = []

    def typed_dict(self, name, about, keys, is_reply):
        """A class; keys that may be missing are those of a class below it, for Python before 3.11."""
        sure = {key: facts for key, facts in keys.items() if ("only" not in facts if is_reply else facts.get("needed") is True)}
        rest = {key: facts for key, facts in keys.items() if key not in sure}
        base = "TypedDict"
        if sure and rest:
            self.parts.append(self.body(f"_{name}", f"The keys of {name} that are always there.", sure, is_reply, "TypedDict", name))
            base = f"_{name}"
        self.parts.append(self.body(name, about, rest or sure, is_reply, base + (", total=False" if rest else ""), name))

    def body(self, name, about, keys, is_reply, base, prefix):
        lines = []
        for key, facts in keys.items():
            lines.append(f"    {key}: {self.type_of(facts, is_reply, prefix + key[0].upper() + key[1:])}")
        about = about.replace("\\", "\\\\")
        quote = ' ' if about.endswith('"') else ''
        return f'class {name}({base}):\n    """{about}{quote}"""\n\n' + "\n".join(lines) + "\n\n\n"

    def type_of(self, facts, is_reply, name):
        kinds = listed(facts["type"])
        if "same" in facts:
            return f'"{self.topology}"'
        if "usual" in facts:
            self.topology = name
            self.typed_dict(name, facts["is"], {key: {**below, "only": "often"} for key, below in facts["usual"].items()}, True)
            return name
        if kinds == ["any"]:
            return "Any"
        if facts.get("values") == {"": "always"}:  # empty here, but not in the reply to a scan
            return "str"
        if "values" in facts and "open" not in facts and (is_reply or "beyond" not in facts):
            return "Literal[" + ", ".join(json.dumps(value) for kind in kinds for value in as_kind(facts["values"], kind)) + "]"
        if "numbered" in facts:
            return "Dict[str, str]"
        if "keys" in facts:
            self.typed_dict(name, facts["is"], facts["keys"], is_reply)
            return name
        if "each" in facts:
            return "Sequence[str]"
        if "of" in facts:
            return f"List[{self.type_of(facts['of'], is_reply, name + 'Entry')}]" if is_reply else f"Sequence[{self.type_of(facts['of'], is_reply, name + 'Entry')}]"
        words = [{"string": "str", "number": "int"}[kind] for kind in kinds]
        return words[0] if len(words) == 1 else f"Union[{', '.join(words)}]"
