# SPDX-License-Identifier: MIT
"""The Kotlin types of the contract: a data class for each object."""

from engine.dryrun import listed

HEAD = """// SPDX-License-Identifier: MIT
// What the router's objects look like. Made from the contract by contract/make: do not edit.
// A key that need not be there is null by default; a value that may be a text or a number is Any.
package kt7094hzm
"""


def text(contract):
    made = Maker()
    for name, facts in contract.objects.items():
        kind = name[0].upper() + name[1:]
        if "get" in facts:
            made.data_class(kind, facts["about"], facts["get"]["reply"], True)
            if "ask" in facts["get"]:
                made.data_class(f"{kind}Request", f'What a get of "{name}" may ask for.', facts["get"]["ask"], False)
        if "value" in facts.get("set", {}):
            made.parts.append(f"typealias {kind}Settings = {made.type_of(facts['set']['value'], False, kind)}\n")
        elif "set" in facts:
            made.data_class(f"{kind}Settings", f'What a set of "{name}" takes.', facts["set"]["keys"], False)
    return HEAD + "\n" + "\n".join(made.parts)


class Maker:
    """Collects classes; those of values within an object stand before it."""

    def __init__(self):
        self.parts = []

    def data_class(self, name, about, keys, is_reply):
        lines = []
        for key, facts in keys.items():
            optional = "only" in facts if is_reply else facts.get("needed") is not True
            kind = self.type_of(facts, is_reply, name + key[0].upper() + key[1:])
            if optional and not kind.endswith("?"):
                kind += "?"
            notes = [facts.get("is", ""), f"Unit: {facts['unit']}" if "unit" in facts else ""]
            comment = ". ".join(filter(None, notes)).replace("*/", "* /")
            lines.append(f"    /** {comment} */\n    val {key}: {kind}{' = null' if optional else ''}")
        self.parts.append(f"/** {about} */\ndata class {name}(\n" + ",\n".join(lines) + "\n)\n")

    def type_of(self, facts, is_reply, name):
        kinds = listed(facts["type"])
        if "same" in facts:
            return self.topology
        if "usual" in facts:
            self.topology = name
            self.data_class(name, facts["is"], {key: {**below, "only": "often"} for key, below in facts["usual"].items()}, True)
            return name
        if kinds == ["any"]:
            return "Any?"
        if "numbered" in facts:
            return "Map<String, String>"
        if "keys" in facts:
            self.data_class(name, facts["is"], facts["keys"], is_reply)
            return name
        if "each" in facts:
            return "List<String>"
        if "of" in facts:
            return f"List<{self.type_of(facts['of'], is_reply, name + 'Entry')}>"
        return {"string": "String", "number": "Long"}[kinds[0]] if len(kinds) == 1 else "Any"
