# SPDX-License-Identifier: MIT
"""What the clients' dry runs need: the contract's keys and steps without prose."""

import json

KEPT = {"type", "bytes", "range", "least", "form", "loose", "counts"}
STEP_DROPPED = {"try"}
LICENCE = "SPDX-License-Identifier: MIT"
MARK = "Made from contract/tool/types_dryrun.py by contract/make: do not edit."


def trimmed_key(facts):
    found = {word: value for word, value in facts.items() if word in KEPT}
    if "keys" in facts:
        found["keys"] = {key: trimmed_key(below) for key, below in facts["keys"].items()}
    if "of" in facts:
        found["of"] = trimmed_key(facts["of"])
    if "each" in facts:
        found["each"] = [trimmed_key(below) for below in facts["each"]]
    return found


def trimmed_step(step):
    found = {word: value for word, value in step.items() if word not in STEP_DROPPED}
    if "steps" in step:
        found["steps"] = [trimmed_step(below) for below in step["steps"]]
    return found


def document(contract):
    objects = {}
    for name, facts in contract.objects.items():
        objects[name] = {}
        for action in ("get", "set"):
            if action in facts:
                side = facts[action]
                objects[name][action] = {
                    "keys": {key: trimmed_key(below) for key, below in side.get("keys", side.get("ask", {})).items()},
                    **({"value": trimmed_key(side["value"])} if "value" in side else {}),
                    "steps": [trimmed_step(step) for step in side.get("steps", [])],
                }
    known = {key: trimmed_key(facts) for key, facts in contract.protocol["request"].items()}
    info = {key: trimmed_key(facts) for key, facts in contract.protocol["login"]["request"].items()}
    return {"order": contract.order, "objects": objects, "request": known, "login": info}


def as_json(contract):
    return json.dumps(document(contract), ensure_ascii=False, indent=1)


def typescript(contract):
    return f"// {LICENCE}\n// The contract's keys and steps. {MARK}\nexport const contract = {as_json(contract)} as unknown;\n"


def python(contract):
    return as_json(contract) + "\n"
