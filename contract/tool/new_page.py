# SPDX-License-Identifier: MIT
"""The first version of an object's page: its tables, and examples with the replies of a router with the factory settings. What
else there is to say is written by hand; a page that is there keeps its prose and its examples."""

import json

import contract  # which puts the engine on the path
import seam  # of platform/, whose folder caseformat_text has put on the path

ASK = "$ curl -sS -d '{request}' $ROUTER\n{reply}\n"


def text(name, facts):
    """The page with empty tables, to be filled as all pages are."""
    items = {item.name: item for item in seam.read_items()}
    parts = [f"# {name}", facts["about"], "## Get"]
    if "get" in facts:
        if "ask" in facts["get"]:
            parts.append(mark("get.request"))
        value = {key: default(below, items) for key, below in facts["get"]["reply"].items()}
        parts += [mark("get.reply"), example("get", name, {}, {"result": {"error": 0}, name: value})]
    parts.append("## Set")
    if "set" in facts:
        parts += [mark("set.request"), example("set", name, facts["set"]["example"], {"result": {"error": 0}, name: "1"})]
    parts += ["## Errors", mark("messages")]
    refusal = next((step for step in contract.flat(facts.get("set", {}).get("steps", [])) if "refuse" in step), None)
    if refusal:
        result = {"error": refusal.get("code", -1), "msg": refusal["refuse"]}
        parts.append(example("set", name, refusal["try"]["send"], {"result": result, name: "1"}))
    elif "set" not in facts:
        parts.append(example("set", name, {}, {"result": {"error": -1, "msg": "ERROR:not support set"}, name: "1"}))
    return "\n\n".join(parts) + "\n"


def mark(table):
    return f"<!-- contract: {table} -->\n<!-- /contract -->"


def default(facts, items):
    """What the factory settings have for a key that shows an item."""
    item = items.get(facts["store"]) if isinstance(facts.get("store"), str) else None
    value = item.default.strip('"') if item else ""
    return int(value) if item and facts["type"] == "number" else value


def example(action, name, value, reply):
    request = contract.compact({"action": action, name: value, "sessionid": "'$SESSION'"})
    printed = json.dumps({"action": f"{action}Rsp", **reply}, indent="\t", ensure_ascii=False).replace('": ', '":\t')
    return "```sh\n" + ASK.format(request=request, reply=printed) + "```"
