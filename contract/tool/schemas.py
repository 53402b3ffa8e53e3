# SPDX-License-Identifier: MIT
"""JSON Schema 2020-12, made from the contract.

Replies are described as they are; requests as an app should send them, which is stricter than the router: keys in the
spelling of the contract, none that the router does not read, values within their limits.
"""

import math

from engine.dryrun import listed

DIALECT = "https://json-schema.org/draft/2020-12/schema"
IPV4 = r"(25[0-5]|2[0-4][0-9]|1?[0-9]?[0-9])(\.(25[0-5]|2[0-4][0-9]|1?[0-9]?[0-9])){3}"
PATTERNS = {
    "mac": "^[0-9A-Fa-f]{12}$",
    "mac upper": "^[0-9A-F]{12}$",
    "mac or empty": "^([0-9A-Fa-f]{12})?$",
    "mac with colons": "^[0-9a-f]{2}(:[0-9a-f]{2}){5}$",
    "ipv4": f"^{IPV4}$",
    "ipv4 or empty": f"^({IPV4})?$",
    "range": "^[^-]{7,15}-.{6,14}$",
    "url": "^(http:|https:|ftp:)",
    "clock": "^..:..:..$",
    "week": "^[01]{7}$",
    "number": "^-?[0-9]+$",
    "decimal": r"^-?[0-9]+\.[0-9]{2}$",
    "session": "^Us[0-9a-f]{32}$",
}


def value_schema(facts, is_reply, same=lambda name: {}):
    """The schema of a key's value."""
    kinds = listed(facts["type"])
    schema = {}
    if kinds != ["any"]:
        kinds = ["integer" if kind == "number" else kind for kind in kinds]
        schema["type"] = kinds[0] if len(kinds) == 1 else kinds
    description = describe(facts)
    if description:
        schema["description"] = description
    if "values" in facts and "open" not in facts:
        values = [value for kind in listed(facts["type"]) for value in as_kind(facts["values"], kind)]
        schema["enum"] = values
    if "string" in kinds and "enum" not in schema:
        add_text_limits(schema, facts, is_reply)
    if "range" in facts and "integer" in kinds and "enum" not in schema:
        schema["minimum"], schema["maximum"] = facts["range"]
    if "least" in facts:
        schema["minimum"] = facts["least"]
    if "range_by" in facts:
        schema["minimum"] = min(row["range"][0] for row in facts["range_by"])
        schema["maximum"] = max(row["range"][1] for row in facts["range_by"])
    if "same" in facts:
        return {**same(facts["same"]), **({"description": description} if description else {})}
    if "keys" in facts:
        schema |= object_schema(facts["keys"], is_reply, same)
    if "numbered" in facts:
        schema["patternProperties"] = {f"^{facts['numbered']}[0-9]+$": value_schema(facts["of"], is_reply, same)}
        schema["additionalProperties"] = False
    elif "each" in facts:
        schema["prefixItems"] = [value_schema(each, is_reply, same) for each in facts["each"]]
        schema["items"] = False
        schema["minItems"] = len(facts["each"]) if is_reply else 1
    elif "of" in facts:
        schema["items"] = value_schema(facts["of"], is_reply, same)
    if "entries" in facts:
        schema["maxItems"] = facts["entries"]
    if "usual" in facts:
        schema["x-usual"] = object_schema(facts["usual"], is_reply, same)["properties"]
    if "unit" in facts:
        schema["x-unit"] = facts["unit"]
    return schema


def as_kind(values, kind):
    return [str(value) if kind == "string" else int(value) for value in values]


def add_text_limits(schema, facts, is_reply):
    if "bytes" in facts:
        low, high = facts["bytes"]
        # Lengths count bytes, those of a schema characters, of which one may have four.
        if low:
            schema["minLength"] = math.ceil(low / 4)
        schema["maxLength"] = high
        schema["x-bytes"] = facts["bytes"]
    if "form" in facts:
        schema["pattern"] = PATTERNS[facts["form"]]


def describe(facts):
    parts = [facts["is"]] if "is" in facts else []
    if "values" in facts:
        parts.append(", ".join(f"{value!s}: {text}" for value, text in facts["values"].items() if text != "always"))
    if isinstance(facts.get("needed"), str):
        parts.append(f"needed {facts['needed']}")
    if "only" in facts:
        parts.append(f"only {facts['only']}")
    if "default" in facts:
        parts.append(f"if missing: {facts['default']}")
    return "; ".join(part for part in parts if part)


def object_schema(keys, is_reply, same=lambda name: {}):
    """The part of a schema that tells an object's members."""
    needed = [key for key, facts in keys.items() if ("only" not in facts if is_reply else facts.get("needed") is True)]
    schema = {"properties": {key: value_schema(facts, is_reply, same) for key, facts in keys.items()}}
    if needed:
        schema["required"] = needed
    schema["additionalProperties"] = False
    return schema


def head(title, schema):
    return {"$schema": DIALECT, "title": title, **schema}


class Schemas:
    """All schemas of a contract, by file name. `ref` says how one names another."""

    def __init__(self, contract, ref=None):
        self.contract = contract
        self.inline = ref is None
        self.ref = ref or (lambda name: self.part(name))
        self.done = {}

    def part(self, name):
        """A schema by its file name, without the head of a file."""
        if name not in self.done:
            self.done[name] = self.make(name)
        return self.done[name]

    def files(self):
        """name -> whole schema, of every file."""
        return {name: head(name.removesuffix(".json"), self.part(name)) for name in self.names()}

    def names(self):
        for name, facts in self.contract.objects.items():
            for action in ("get", "set"):
                if action in facts:
                    yield f"{name}.{action}.request.json"
                    yield f"{name}.{action}.reply.json"
        for action in ("scan", "login", "get", "set"):
            yield f"{action}.request.json"
            yield f"{action}.reply.json"
        yield "broken.reply.json"
        yield "request.json"
        yield "reply.json"

    def make(self, name):
        words = name.removesuffix(".json").split(".")
        if len(words) == 3:
            return self.of_object(*words)
        if len(words) == 1:
            names = [each for each in self.names() if each.count(".") == 2 and each.split(".")[1] == words[0]]
            return {"anyOf": [self.ref(each) for each in names]}
        return self.whole_request(words[0]) if words[1] == "request" else self.whole_reply(words[0])

    def of_object(self, name, action, side):
        facts = self.contract.objects[name][action]
        if side == "request":
            if "value" in facts:
                return value_schema(facts["value"], False)
            return {"type": "object", "description": self.contract.objects[name]["about"],
                    **object_schema(facts.get("keys", facts.get("ask", {})), False)}
        if action == "set":
            return {"const": "1", "description": "the mark of an object that was reached, whether it failed or not"}
        return {"type": "object", "description": self.contract.objects[name]["about"], **object_schema(facts["reply"], True)}

    def partial(self, name):
        """The reply of a getter that failed: some of its keys, or none."""
        schema = dict(self.of_object(name, "get", "reply"))
        schema.pop("required", None)
        return schema

    def whole_request(self, action):
        keys = {key: facts for key, facts in self.contract.protocol["request"].items()
                if key != "ip" and (key != "sessionid" or action in ("get", "set"))}
        if action == "login":
            keys |= self.contract.protocol["login"]["request"]
        schema = {"type": "object", **object_schema(keys, False)}
        schema["properties"]["action"] = {"const": action}
        for name in self.contract.order:
            if action in self.contract.objects[name]:
                schema["properties"][name] = self.ref(f"{name}.{action}.request.json")
        return schema

    def whole_reply(self, action):
        keys = self.contract.protocol[action]["reply"]
        same = lambda name: self.ref(f"{name}.get.reply.json")  # noqa: E731
        schema = {"type": "object", **object_schema(keys, True, same)}
        if action == "scan":  # the one reply in which "date" says something
            schema["properties"]["dutInfo"] = self.scanned()
        if action not in ("get", "set"):
            return schema
        schema["properties"]["action"] = {"const": action + "Rsp"}
        named = [name for name in self.contract.order if action == "set" or "get" in self.contract.objects[name]]
        if action == "set":
            schema["properties"] |= {name: {"const": "1"} for name in named}
            return schema
        schema["properties"] |= {name: True for name in named}
        schema["if"] = {"properties": {"result": {"properties": {"error": {"const": 0}}}}}
        schema["then"] = {"properties": {name: self.ref(f"{name}.get.reply.json") for name in named}}
        schema["else"] = {"properties": {name: self.partial(name) if self.inline else {"$ref": f"#/$defs/{name}"} for name in named}}
        if not self.inline:
            schema["$defs"] = {name: self.partial(name) for name in named}
        return schema

    def scanned(self):
        schema = self.of_object("dutInfo", "get", "reply")
        schema["properties"] = {**schema["properties"], "date": {"type": "string", "description": "build date of the firmware; empty if it is not known"}}
        return schema


def order_of(schema, value):
    """The keys of a reply that stand in another order than that of their schema, or that it does not declare."""
    found = []
    if isinstance(value, dict):
        names = list(schema.get("properties", {}))
        if names:
            known = [key for key in value if key in names]
            if known != sorted(known, key=names.index):
                found.append("the order of " + ", ".join(known))
            found += [f"undeclared: {key}" for key in value if key not in names]
        branch = branch_of(schema, value)
        for key, member in value.items():
            below = branch.get(key) if branch.get(key) not in (None, True) else schema.get("properties", {}).get(key, {})
            if isinstance(below, dict):
                found += order_of(below, member)
    elif isinstance(value, list):
        below = schema.get("items", {})
        for element in value:
            if isinstance(below, dict):
                found += order_of(below, element)
    return found


def branch_of(schema, value):
    if "then" not in schema:
        return {}
    good = value.get("result", {}).get("error") == 0
    return schema["then" if good else "else"]["properties"]
