# SPDX-License-Identifier: MIT
"""The Kotlin types of the contract: a data class for each object."""

from dryrun import listed

HEAD = """// SPDX-License-Identifier: MIT
// What the router's objects look like. Made from the contract by contract/make: do not edit.
// A key that need not be there is null by default; a value that may be a text or a number is Any.
package kt7094hzm
"""


def text(contract):
    made = Maker()
    for name, spec in contract.objects.items():
        kind = name[0].upper() + name[1:]
        if "get" in spec:
            made.data_class(kind, spec["about"], spec["get"]["reply"], True)
            if "ask" in spec["get"]:
                made.data_class(f"{kind}Request", f'What a get of "{name}" may ask for.', spec["get"]["ask"], False)
        if "value" in spec.get("set", {}):
            made.parts.append(f"typealias {kind}Settings = {made.type_of(spec['set']['value'], False, kind)}\n")
        elif "set" in spec:
            made.data_class(f"{kind}Settings", f'What a set of "{name}" takes.', spec["set"]["keys"], False)
    return HEAD + "\n" + "\n".join(made.parts)


class Maker:
    """Collects classes; those of values within an object stand before it."""

    def __init__(self):
        self.parts = []

    def data_class(self, name, about, keys, is_reply):
        lines = []
        for key, spec in keys.items():
            optional = "only" in spec if is_reply else spec.get("needed") is not True
            kind = self.type_of(spec, is_reply, name + key[0].upper() + key[1:])
            if optional and not kind.endswith("?"):
                kind += "?"
            notes = [spec.get("is", ""), f"Unit: {spec['unit']}" if "unit" in spec else ""]
            comment = ". ".join(filter(None, notes)).replace("*/", "* /")
            lines.append(f"    /** {comment} */\n    val {key}: {kind}{' = null' if optional else ''}")
        self.parts.append(f"/** {about} */\ndata class {name}(\n" + ",\n".join(lines) + "\n)\n")

    def type_of(self, spec, is_reply, name):
        kinds = listed(spec["type"])
        if "same" in spec:
            return self.topology
        if "usual" in spec:
            self.topology = name
            self.data_class(name, spec["is"], {key: {**below, "only": "often"} for key, below in spec["usual"].items()}, True)
            return name
        if kinds == ["any"]:
            return "Any?"
        if "numbered" in spec:
            return "Map<String, String>"
        if "keys" in spec:
            self.data_class(name, spec["is"], spec["keys"], is_reply)
            return name
        if "each" in spec:
            return "List<String>"
        if "of" in spec:
            return f"List<{self.type_of(spec['of'], is_reply, name + 'Entry')}>"
        return {"string": "String", "number": "Long"}[kinds[0]] if len(kinds) == 1 else "Any"
