# SPDX-License-Identifier: MIT
"""The contract as it is read from its files, checked by the form of contract/form.schema.json."""

import json
import pathlib
import sys

import yaml

FOLDER = pathlib.Path(__file__).resolve().parents[1]
PROJECT = FOLDER.parent
sys.path.append(str(FOLDER / "clients/python/kt7094hzm/dry_run"))  # whose engine the tools use, too
sys.path[:0] = [str(PROJECT / folder) for folder in ("tests/runner", "platform", "virtual_router/vocabulary")]

import object_table  # noqa: E402 - of tests/runner


class Loader(yaml.CSafeLoader):
    """YAML whose words are words: "on" and "no" are texts, not switches."""


Loader.yaml_implicit_resolvers = {
    letter: [(tag, expression) for tag, expression in rows if tag != "tag:yaml.org,2002:timestamp"]
    for letter, rows in yaml.CSafeLoader.yaml_implicit_resolvers.items()
}


class Contract:
    """All files of a contract folder: `protocol`, and `objects` by name in the order in which the router handles them."""

    def __init__(self, folder=FOLDER):
        self.folder = pathlib.Path(folder)
        self.protocol = self.read("protocol.yaml")
        self.order = list(object_table.read(PROJECT))
        self.objects = {name: self.read(f"objects/{name}.yaml") for name in self.order}

    def read(self, name):
        if not (self.folder / name).exists():
            sys.exit(f"contract/{name}: not there, but {object_table.TABLE} has the object")
        with open(self.folder / name, encoding="utf-8") as file:
            return yaml.load(file, Loader)

    def steps(self):
        """(object, action, step) of every step, those within "each" too."""
        for name, facts in self.objects.items():
            for action in ("get", "set"):
                for step in flat(facts.get(action, {}).get("steps", [])):
                    yield name, action, step

    def refusals(self):
        """(object, action, step) of every refusal."""
        return [row for row in self.steps() if "refuse" in row[2]]

    def causes(self):
        """Why a request fails: texts by action, object and message; the object is "" where no object refuses."""
        found = {}
        for name, action, step in self.refusals():
            row = found.setdefault((action, name, step["refuse"]), [])
            if step["cause"] not in row:
                row.append(step["cause"])
        # What no object says of itself: of which actions, and of which objects.
        read_only = [name for name, facts in self.objects.items() if "set" not in facts]
        places = {"loginRsp": (["login"], [""]), "setRsp": (["set"], read_only), "getRsp or setRsp": (["get", "set"], [""])}
        for message in self.protocol["messages"]:
            if message["code"] not in (0, "none") and message["in"] in places:
                actions, names = places[message["in"]]
                found.update({(action, name, message["text"]): [message["cause"]] for action in actions for name in names})
        return {key: "; ".join(row) for key, row in found.items()}


def compact(value):
    """JSON as the requests of pages and of the benchmark have it."""
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False)


def flat(steps):
    for step in steps:
        yield step
        yield from flat(step.get("steps", []))


def check_form(contract):
    """What the files say that no file of a contract may say, as lines."""
    import jsonschema

    form = json.loads((FOLDER / "form.schema.json").read_text())
    found = []
    for name, document in [("protocol", contract.protocol), *((f"objects/{name}", facts) for name, facts in contract.objects.items())]:
        schema = {**form, "$ref": "#/$defs/" + ("protocol" if name == "protocol" else "object")}
        plain = json.loads(json.dumps(document))  # keys that are numbers become texts
        for error in jsonschema.Draft202012Validator(schema).iter_errors(plain):
            found.append(f"contract/{name}.yaml: {'.'.join(str(part) for part in error.absolute_path)}: {error.message[:200]}")
    return found or [*unreadable_conditions(contract)]


def unreadable_conditions(contract):
    from engine.expression import parse

    for name, action, step in contract.steps():
        for condition in (step[word] for word in ("when", "sure") if word in step):
            try:
                parse(condition)
            except Exception as error:  # noqa: BLE001 - whatever a condition breaks is its fault
                yield f"contract/objects/{name}.yaml: {action}: {condition}: {error}"
