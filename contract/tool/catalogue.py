# SPDX-License-Identifier: MIT
"""The catalogue of messages: each with what causes it and one request that does."""

import json

import broken
from caseformat_text import expand
from contract import compact
from tables import shown, stored_before

HEAD = """# Messages

Every "msg" of a reply, what causes it, and a request that does. `contract/check messages` sends each of these requests to the real
program. Made from [the contract](../contract/README.md) by `contract/make`: do not edit.

A message that only a broken store, kernel or system daemon causes has the line **The router's state**. It is written in the words of
a test case ([tests/runner](../tests/runner/README.md)), by which `tests/run_cases` brings the router into it; "fail" names faults
that no healthy router has. A line **In a virtual router** is the [command](faults.md) that has a running one give the message;
`script/router faults clear` ends it.

"""


def page(contract):
    parts = [HEAD, index(contract), "## All objects\n\n"]
    for message in contract.protocol["messages"]:
        parts.append(entry(message["text"], message["code"], message["in"], message["cause"], "", message.get("unreachable"),
                           message.get("try", {}).get("body"), {key: value for key, value in message.get("try", {}).items() if key != "body"}))
    last = None
    for name, action, step in contract.refusals():
        if name != last:
            parts.append(f"## {name}\n\n")
            last = name
        trial = step.get("try", {})
        body = compact({"action": action, name: trial["send"]}) if trial else None
        world = {key: value for key, value in trial.items() if key != "send"}
        parts.append(entry(step["refuse"], step.get("code", -1), f"{action}Rsp", step["cause"],
                           stored_before(contract.objects[name], action, step), step.get("unreachable"), body, world))
    return "".join(parts).rstrip("\n") + "\n"


def index(contract):
    """All texts in their order, each with the objects that have it."""
    owners = {}
    for message in contract.protocol["messages"]:
        owners.setdefault(message["text"], []).append("all objects")
    for name, _, step in contract.refusals():
        if name not in owners.setdefault(step["refuse"], []):
            owners[step["refuse"]].append(name)
    rows = [f"| {shown(text)} | {', '.join(f'[{owner}](#{owner.lower().replace(chr(32), chr(45))})' for owner in names)} |\n"
            for text, names in sorted(owners.items())]
    return "| \"msg\" | of |\n|---|---|\n" + "".join(rows) + "\n"


def entry(text, code, where, cause, before, unreachable, body, world):
    lines = [f"### {shown(text)}", "", f"\"error\" {json.dumps(code)}, in {where}. Cause: {cause}."]
    if before:
        lines.append(f"What was stored before it stays: {before}.")
    if unreachable:
        lines.append(f"No request causes it. {unreachable}")
    if body is not None:
        body = expand(body)
        lines += ["", "```json", body if len(body) < 400 else body[:200] + "...", "```"]
    if world and broken.lines_of(world):
        lines += ["", f"**In a virtual router**: `{broken.command(world)}`"]
    if world:
        lines += ["", "**The router's state**: " + "; ".join(f"`{key} = {json.dumps(value)}`" for key, value in world.items())]
    return "\n".join(lines) + "\n\n"
