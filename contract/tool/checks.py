# SPDX-License-Identifier: MIT
"""The checks: each gives (how many things it tried, what was wrong with them, what else there is to say)."""

import json
import re

import jsonschema

import agree
import cases
from engine import dryrun
import limits
import products
import schemas
from caseformat_text import expand
from contract import FOLDER, PROJECT, check_form
from engine.dryrun import listed
from program import Program

KINDS = {"getRsp": "get", "setRsp": "set", "loginRsp": "login", "scanRsp": "scan"}


class Bench:
    """What the checks share: the contract, the real program, the cases."""

    def __init__(self, contract, build, project=PROJECT):
        self.contract, self.project = contract, project
        self.program = Program(build)
        self.missing = self.program.missing
        self._steps = None
        made = schemas.Schemas(contract)
        self.reply_schemas = {kind: made.part(f"{kind}.reply.json") for kind in (*KINDS.values(), "broken")}
        self.validators = {kind: jsonschema.Draft202012Validator(schema) for kind, schema in self.reply_schemas.items()}
        made_requests = {name: made.part(name) for name in made.names() if name.endswith(".request.json")}
        self.request_schemas = made_requests

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.program.close()

    @property
    def steps(self):
        if self._steps is None:
            self._steps = list(cases.all_steps())
        return self._steps

    def faults_of_reply(self, document):
        kind = KINDS.get(document.get("action"), "broken")
        found = [f"{'.'.join(map(str, error.absolute_path))}: {error.message[:120]}" for error in self.validators[kind].iter_errors(document)]
        return found + schemas.order_of(self.reply_schemas[kind], document)


def form(bench):
    """The files of the contract have the form of form.schema.json, and name only keys that there are."""
    faults = check_form(bench.contract)
    for name, action, step in bench.contract.steps() if not faults else ():
        for word in ("when", "sure"):
            if word in step:
                faults += bad_paths(bench.contract, name, action, step, dryrun.parse(step[word]))
    faults += [f"README.md shows what no file has: {line}" for line in shown_lines() if line not in (FOLDER / "objects/app.yaml").read_text().splitlines()]
    return len(list(bench.contract.steps())) + len(bench.contract.objects), faults, ""


def shown_lines():
    """Of the file that README.md shows."""
    return re.search(r"^```yaml\n(.*?)^```$", (FOLDER / "README.md").read_text(), re.S | re.M)[1].splitlines()


def bad_paths(contract, name, action, step, tree):
    from engine.expression import paths

    side = contract.objects[name][action]
    keys = side.get("keys", side.get("ask", {}))
    for path in paths(tree):
        words = path.split(".")
        if words[0] in ("it", "value"):
            continue
        spot = {"keys": keys}
        for word in words:
            if word not in spot.get("keys", {}):
                yield f"{name}: {step.get('when', '')}: there is no key {path}"
                break
            spot = spot["keys"][word]


def replies(bench):
    """Every reply of every case and of every home is as its schema says, in the order of its keys too."""
    tried, faults = 0, []
    for step in bench.steps:
        if step.document is not None:
            tried += 1
            faults += [f"{step.name}: {fault}" for fault in bench.faults_of_reply(step.document)[:1]]
    homes = sorted((FOLDER / "fixtures").glob("*/*.json"))
    for path in homes:
        tried += 1
        faults += [f"{path.relative_to(PROJECT)}: {fault}" for fault in bench.faults_of_reply(json.loads(path.read_text()))[:1]]
    return tried, faults, f"{tried - len(homes)} of cases, {len(homes)} of homes"


def limit_tries(bench):
    """Every limit on both sides: the real program refuses with the message of the contract, or accepts."""
    tried, faults = 0, []
    inside = 0
    for each in limits.tries_of(bench.contract):
        tried += 1
        inside += each.inside
        value = limits.request_of(bench.contract, each)
        seen = bench.program.ask_object(each.action, each.object, value, each.world)
        end = dryrun.ends_of(bench.contract, seen.body)[-1]
        if range_by := [row for row in each.facts.get("range_by", []) if {"store": row["state"]} == each.world]:
            low, high = range_by[0]["range"]
            wanted = None if each.inside else f"ERROR: the MTU size should in range {low}-{high}"
            end = next(end for end in dryrun.ends_of(bench.contract, seen.body) if end.message == wanted and end.reply == "setRsp")
        good = end.code == 0
        if each.inside and not good or not each.inside and good and "beyond" not in each.facts:
            faults.append(f"{each}: the contract says {'it succeeds' if good else 'it fails: ' + end.message}")
            continue
        if different := agree.differences(end, seen):
            faults.append(f"{each}: {', '.join(different)}; expected {end.code} {end.message!r}, got {agree.reply_of(seen.document)[1:]}")
    return tried, faults, f"{inside} within, {tried - inside} beyond"


MESSAGE = re.compile(r'"((?:[^"\\]|\\.)*)"')
NO_MESSAGE = re.compile(r"DebugLog\(|perror\(|fprintf\(|write_debug_line|report\w*\(|printf\(")
LOOKS_LIKE = re.compile(r"ERROR|Error:|error_request|^need login|^login |^unknow|entry_number")
FORMAT = re.compile(r"%[us]|%d")


def source_messages(project):
    """(text, place) of everything in the sources that looks like a message and is none of the log's."""
    for folder in ("gateway", "login", "objects"):
        for path in sorted(project.glob(f"{folder}/**/*")):
            if path.suffix not in (".cpp", ".h"):
                continue
            text = re.sub(r"//[^\n]*|^#[^\n]*", "", path.read_text(), flags=re.M)
            for statement in re.split(r"(?<=[;{}])\s*\n", text):
                if NO_MESSAGE.search(statement) and "fail(" not in statement:
                    continue
                for match in MESSAGE.finditer(statement):
                    value = match[1].encode().decode("unicode_escape")
                    if LOOKS_LIKE.search(value) or "fail(" in statement[:match.start()].rpartition(";")[2] and value != "%s":
                        yield value, f"{path.relative_to(project)}: {value!r}"


def messages(bench):
    """Every message of the source is in the contract and the other way round, and each has a request that causes it."""
    contract = bench.contract
    texts = {message["text"] for message in contract.protocol["messages"]} | {step["refuse"] for _, _, step in contract.refusals()}
    texts.discard("")
    faults, found = [], set()
    in_source = list(source_messages(bench.project))
    for value, place in in_source:
        pattern = re.compile("".join(".+" if FORMAT.fullmatch(part) else re.escape(part) for part in re.split(f"({FORMAT.pattern})", value)))
        fitting = {text for text in texts if pattern.fullmatch(text)}
        if not fitting:
            faults.append(f"the contract does not have {place}")
        found |= fitting
    faults += [f"no source has {text!r}" for text in sorted(texts - found)]
    tried = len(in_source) + len(texts)
    caused = 0
    for name, action, step in contract.refusals():
        if "try" in step:
            seen = bench.program.ask_object(action, name, step["try"]["send"], step["try"])
            wanted = (f"{action}Rsp", step.get("code", -1), step["refuse"])
            tried, caused = tried + 1, caused + 1
            if agree.reply_of(seen.document) != wanted:
                faults.append(f"{name}: {json.dumps(step['try'])[:150]} gives {agree.reply_of(seen.document)}, not {wanted}")
            elif agree.judge(contract, seen)[1]:
                faults.append(f"{name}: {json.dumps(step['try'])[:150]}: {agree.judge(contract, seen)[1]}")
    for message in contract.protocol["messages"]:
        if "try" in message:
            seen = bench.program.ask(expand(message["try"]["body"]), message["try"])
            tried, caused = tried + 1, caused + 1
            if agree.reply_of(seen.document)[1:] != (message["code"], message["text"]):
                faults.append(f"{message['text']}: {agree.reply_of(seen.document)}")
    return tried, faults, f"{len({value for value, _ in in_source})} texts in the source, {len(texts)} in the contract, {caused} requests that cause one"


REQUEST = re.compile(r"^POST [^\n]*\n(?:[^\n]+\n)*\n(.*?)(?=^###|^> |\Z)", re.M | re.S)
TAKES_SESSION = re.compile(r'^> {% client\.global\.set\("session", response\.body\.([\w.]+)\); %}$', re.M)


def examples(bench):
    """Every example of the contract and every request of the collection succeeds, and fits the schema of requests."""
    tried, faults = 0, []
    for name, facts in bench.contract.objects.items():
        for action in ("get", "set"):
            if action not in facts:
                continue
            tried += 1
            value = facts[action].get("example", {})
            seen = bench.program.ask_object(action, name, value)
            if agree.reply_of(seen.document)[1] != 0:
                faults.append(f"the example of {action} {name}: {agree.reply_of(seen.document)}")
            errors = jsonschema.Draft202012Validator(bench.request_schemas[f"{name}.{action}.request.json"]).iter_errors(value)
            faults += [f"the example of {action} {name}: {error.message}" for error in errors]
            faults += [f"the example of {action} {name}: {fault}" for fault in bench.faults_of_reply(seen.document)]
    collection = products.requests_collection.files(bench.contract)
    for name, text in collection.items():
        login, *_ = bodies = [match[1].strip() for match in REQUEST.finditer(text)]
        reply = bench.program.ask(login, {"remote_addr": "192.168.1.100"}).document
        for word in TAKES_SESSION.search(text)[1].split("."):
            reply = reply.get(word, {})
        if not isinstance(reply, str):
            faults.append(f"{name}: the script behind the login finds no session")
        for body in bodies:
            tried += 1
            seen = bench.program.ask(body.replace("{{session}}", "Us4fb942caf223377fb611bc9c09d37f94"), {"remote_addr": "192.168.1.100"})
            if agree.reply_of(seen.document)[1] != 0:
                faults.append(f"{name}: {body[:80]}: {agree.reply_of(seen.document)}")
            else:
                faults += [f"{name}: {body[:80]}: {fault}" for fault in bench.faults_of_reply(seen.document)]
    return tried, faults, f"{len(collection)} files of the collection"


def made(bench):
    """All that is made from the contract is as it would be made now."""
    wanted = products.all_files(bench.contract, bench.project)
    faults = [f"{path.relative_to(bench.project)} differs from what contract/make makes" for path, text in wanted.items()
              if not path.exists() or path.read_text() != text]
    faults += [f"{path.relative_to(bench.project)} is no longer made" for path in products.stale_files(bench.project, wanted)]
    return len(wanted), faults, ""


TEXTS_ONLY = {"string": ("text", "ipv4"), "number": ("int32", "byte", "sbyte")}
ROOM = {"byte": (0, 255), "sbyte": (-128, 127), "int32": (-(1 << 31), (1 << 31) - 1)}
# Of these keys the text is not what is stored: a number, an address or a time as texts, or a mask of weekdays.
OTHER_KINDS = {"number": ("int32", "byte", "sbyte"), "week": ("byte",), "clock": ("text",), "decimal": ()}


def items(bench):
    """The store items of the contract exist, in the kind and the width that its keys need; what a setter writes is named."""
    known, faults, tried = bench.program.items.by_name, [], 0
    for name, facts in bench.contract.objects.items():
        for action in ("get", "set"):
            side = facts.get(action, {})
            for path, key in all_keys(side.get("reply", {}) | side.get("keys", {})):
                for item in listed(key.get("store", [])):
                    tried += 1
                    faults += [f"{name}: {path}: {fault}" for fault in bad_item(known, item, key)]
    named = {}
    for name, action, step in bench.contract.steps():
        for item in listed(step.get("write", [])):
            tried += 1
            base, _, place = item.partition("@")
            if base not in known:
                faults.append(f"{name}: there is no item {item}")
            elif known[base].per_interface != bool(place):
                faults.append(f"{name}: {item}: " + ("of which interface?" if not place else "it has no interfaces"))
            named.setdefault(name, set()).add(base)
    writes = 0
    for step in bench.steps:
        objects = [name for name in bench.contract.order if dryrun.wire.find(safe_parse(step.body), name) is not dryrun.MISSING]
        for item, _ in agree.written(step.events):
            writes += 1
            if not any(item in named.get(name, ()) for name in objects):
                faults.append(f"{step.name}: {', '.join(objects)} writes {item}, which the contract does not name")
    return tried + writes, faults, f"{tried} names, {writes} writes of cases"


def safe_parse(body):
    try:
        return dryrun.wire.parse(body)
    except (dryrun.wire.ParseError, RecursionError):
        return None


def all_keys(keys, path=""):
    for key, facts in keys.items():
        yield path + key, facts
        yield from all_keys(facts.get("keys", {}), f"{path}{key}.")


def bad_item(known, item, key):
    base, _, place = item.partition("@")
    if base not in known:
        return [f"there is no item {item}"]
    found, kinds = known[base], listed(key["type"])
    faults = []
    if found.per_interface != bool(place):
        faults.append(f"{item}: " + ("of which interface?" if not place else "it has no interfaces"))
    if found.kind == "table":
        if not {"array", "object", "number", "string"} & set(kinds):
            faults.append(f"{item} is a table")
    elif kinds == ["number"] and found.kind not in TEXTS_ONLY["number"]:
        faults.append(f"{item} keeps no number")
    elif kinds == ["number"]:
        low, high = ROOM[found.kind]
        numbers = [*key.get("range", ()), *map(int, key.get("values", ()))]
        faults += [f"{item} has room for {low} to {high}, not for {number}" for number in numbers if not low <= number <= high]
    elif kinds == ["string"] and "counts" not in key:
        allowed = OTHER_KINDS.get(key.get("form"), TEXTS_ONLY["string"])
        if found.kind not in allowed:
            faults.append(f"{item} keeps no such text, but {found.kind}")
        elif found.kind == "text" and "bytes" in key and key.get("form") not in OTHER_KINDS and key["bytes"][1] > found.width - 1:
            faults.append(f"{item} has room for {found.width - 1} bytes, not for {key['bytes'][1]}")
    return faults


def dry_run(bench):
    """The dry run tells of every request of every case what the program did."""
    tried, faults, certain, unstarted = 0, [], 0, 0
    for step in bench.steps:
        if step.unstarted and step.document is None:
            unstarted += 1
            continue
        tried += 1
        count, different = agree.judge(bench.contract, step)
        certain += count == 1
        if different:
            faults.append(f"{step.name}: {', '.join(different)}")
    return tried, faults, f"{unstarted} requests that the program could not start are left out"


CHECKS = {"form": form, "replies": replies, "limits": limit_tries, "messages": messages, "examples": examples, "made": made,
          "items": items, "dry-run": dry_run}
