# SPDX-License-Identifier: MIT
"""The test of the checks: each must find the fault that is planted for it."""

import copy
import pathlib
import shutil
import tempfile

import capture
import checks
import contract as contract_module
import jsonschema
import schemas


def key(name, path, **changes):
    """Changes a key: path is "set.keys.port"."""

    def plant(whole):
        spot = whole.objects[name]
        for word in path.split("."):
            spot = spot[word]
        spot.update(changes)

    return plant


def drop_step(name, action, word, value):
    def plant(whole):
        steps = whole.objects[name][action]["steps"]
        steps.remove(next(step for step in steps if step.get(word) == value))

    return plant


def change_step(name, action, word, value, **changes):
    def plant(whole):
        next(step for step in contract_module.flat(whole.objects[name][action]["steps"]) if step.get(word) == value).update(changes)

    return plant


def swap_keys(whole):
    reply = whole.objects["app"]["get"]["reply"]
    whole.objects["app"]["get"]["reply"] = {"ticktime": reply["ticktime"], "port": reply["port"]}


def forget_key(whole):
    del whole.objects["app"]["get"]["reply"]["ticktime"]


def wrong_example(whole):
    whole.objects["app"]["set"]["example"]["port"] = 65536


def unknown_word(whole):
    whole.objects["app"]["set"]["steps"][0]["when"] = "not port number"


def misspelt_condition(whole):
    whole.objects["app"]["set"]["steps"][0]["when"] = "prt breaks"


PORT = "ERROR: port value is invalied"
# What is planted, for which check, and a word of the cases that are enough to find it.
FAULTS = [
    ("a key that the form does not know", "form", key("app", "set.keys.port", colour="red"), ""),
    ("a word that no condition knows", "form", unknown_word, ""),
    ("a condition on a key that is not there", "form", misspelt_condition, ""),
    ("a reply of another type", "replies", key("app", "get.reply.port", type="string"), "objects/app"),
    ("keys in another order", "replies", swap_keys, "objects/app"),
    ("a key that is not declared", "replies", forget_key, "objects/app"),
    ("a limit that is one too low", "limits", key("app", "set.keys.port", range=[0, 65534]), ""),
    ("a limit that is one too high", "limits", key("dutInfo", "set.keys.name", bytes=[0, 31]), ""),
    ("a form that is too strict", "limits", key("lan", "set.keys.ip", form="mac"), ""),
    ("a message in other words", "messages", change_step("app", "set", "refuse", PORT, refuse="ERROR: port value is invalid"), ""),
    ("a request that causes another message", "messages", change_step("app", "set", "refuse", PORT, **{"try": {"send": {"ticktime": -1}}}), ""),
    ("an example that fails", "examples", wrong_example, ""),
    ("a table that is out of date", "made", key("app", "set.keys.port", **{"is": "another meaning"}), ""),
    ("an item that is not there", "items", key("app", "set.keys.port", store="MIB_APP_PROT"), "objects/app"),
    ("a text longer than its item", "items", key("dutInfo", "set.keys.name", bytes=[0, 31]), "objects/app"),
    ("a number beyond its item", "items", key("netAcc", "get.reply.enable", range=[0, 256]), "objects/app"),
    ("a write that nobody names", "items", drop_step("app", "set", "write", "MIB_APP_PORT"), "objects/app"),
    ("a write that is not made", "dry-run", change_step("app", "set", "write", "MIB_APP_PORT", write="MIB_DUT_NAME"), "objects/app"),
    ("a commit that is forgotten", "dry-run", drop_step("app", "set", "commit", True), "objects/app"),
    ("a restart that is forgotten", "dry-run", drop_step("opMode", "set", "restart", "all"), "objects/opmode"),
    ("a refusal that is forgotten", "dry-run", drop_step("app", "set", "refuse", PORT), "objects/app"),
]


KEPT = '{"wanStatus":{"status":1,"upTime":9,"devices":[{"mac":"a"},{"mac":"b"}]}}'
# Another reply, and whether it is taken for the one that was kept.
REPLIES = [
    ("a home as it was", KEPT, True),
    ("another time", KEPT.replace("9", "11"), True),
    ("devices in another order", KEPT.replace('{"mac":"a"},{"mac":"b"}', '{"mac":"b"},{"mac":"a"}'), True),
    ("another value", KEPT.replace('"status":1', '"status":0'), False),
    ("a time as a text", KEPT.replace("9", '"9"'), False),
    ("a device less", KEPT.replace(',{"mac":"b"}', ""), False),
    ("keys in another order", '{"wanStatus":{"upTime":9,"status":1,"devices":[{"mac":"a"},{"mac":"b"}]}}', False),
]


def replant(bench, whole, all_steps, word):
    """The bench with another contract, and as few cases as show the fault."""
    bench.contract = whole
    bench._steps = [step for step in all_steps if word and step.name.startswith(word)]
    made = schemas.Schemas(whole)
    bench.reply_schemas = {kind: made.part(f"{kind}.reply.json") for kind in bench.reply_schemas}
    bench.validators = {kind: jsonschema.Draft202012Validator(schema) for kind, schema in bench.reply_schemas.items()}
    bench.request_schemas = {name: made.part(name) for name in bench.request_schemas}


def source_with(project, folder, text):
    """A copy of the sources with one more line in one of them."""
    for name in ("gateway", "login", "objects"):
        shutil.copytree(project / name, folder / name, dirs_exist_ok=True)
    with open(folder / "objects/device.cpp", "a", encoding="utf-8") as file:
        file.write(text)


def main(build):
    bench = checks.Bench(contract_module.Contract(), build)
    if bench.missing:
        print(f"contract/check: {bench.missing}")
        return 77
    passed = failed = 0

    def verdict(what, check, faults, wanted=True):
        nonlocal passed, failed
        good = bool(faults) == wanted
        passed, failed = passed + good, failed + (not good)
        if not good:
            print(f"FAILED  {check}: {what}: " + ("nobody sees it" if wanted else f"a right one is taken for wrong: {faults[:2]}"))

    with bench:
        right, all_steps = bench.contract, bench.steps
        # Without a fault nothing is found: what is found below is the fault.
        replant(bench, right, all_steps, "objects/")
        for name, check in checks.CHECKS.items():
            verdict("the contract as it is", name, check(bench)[1], wanted=False)
        for what, name, plant, word in FAULTS:
            whole = copy.copy(right)
            whole.protocol, whole.objects = copy.deepcopy(right.protocol), copy.deepcopy(right.objects)
            plant(whole)
            replant(bench, whole, all_steps, word)
            verdict(what, name, checks.CHECKS[name](bench)[1])
        replant(bench, right, all_steps, "")
        with tempfile.TemporaryDirectory() as folder:
            project, bench.project = bench.project, pathlib.Path(folder)
            for what, text in (
                ("a message of the source that the contract lacks", '\nstatic int planted() { return fail("ERROR: planted"); }\n'),
                ("a constant of the source that the contract lacks", '\nconstexpr char kPlanted[] = "ERROR: planted";\n'),
            ):
                source_with(project, bench.project, text)
                verdict(what, "messages", checks.messages(bench)[1])
            bench.project = project
    for what, text, wanted in REPLIES:
        verdict(what, "fixtures", [] if capture.same(KEPT, text) else ["taken for another"], not wanted)
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0
