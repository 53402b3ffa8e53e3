# SPDX-License-Identifier: MIT
"""Scenarios and recordings at the control port: what script/router's words play there is played for a page, too, which hears of each step
as it comes out.

Both are played as a client of this very port would: in a thread, so that the port answers meanwhile.
"""

import asyncio
import json
import pathlib
import threading

import speech

from . import client, recording, replaying, route, scenario

STORIES = pathlib.Path(__file__).resolve().parents[1] / "scenarios"
CONTRACT = pathlib.Path(__file__).resolve().parents[2] / "contract/contract.json"
MOST_RECORDING_BYTES = 8 << 20
END = object()


async def as_they_come(found):
    """What a generator yields that makes its caller wait. Ends with the first after which nobody listens any more."""
    loop, came, stop = asyncio.get_running_loop(), asyncio.Queue(), threading.Event()

    def tell(each):
        try:
            loop.call_soon_threadsafe(came.put_nowait, each)
        except RuntimeError:
            pass  # the router ends

    def work():
        try:
            for each in found:
                tell(each)
                if stop.is_set():
                    break
        except client.Failed as failure:
            tell(failure)
        finally:
            tell(END)

    threading.Thread(target=work, daemon=True).start()
    try:
        while (each := await came.get()) is not END:
            yield each
    finally:
        stop.set()


# --- scenarios ---


def scenario_of(call):
    try:
        return scenario.parse(call.body["text"], "the scenario")
    except scenario.WrongFile as error:
        raise route.Refused(400, "scenario", str(error)) from None


async def list_scenarios(_call):
    found = []
    for path in sorted(STORIES.glob("*.toml")):
        text = path.read_text()
        about = scenario.parse(text, path)
        found.append({"name": path.stem, "about": " ".join(about["about"].split()), "server": about.get("server", ""), "text": text})
    return {"scenarios": found}


async def check_scenario(call):
    found = scenario_of(call)
    return {"about": " ".join(found["about"].split()), "server": found.get("server", ""), "steps": [scenario.title_of(step) for step in found["step"]]}


def play_scenario(call):
    found = scenario_of(call)
    return step_events(found, client.Control(call.keeper.state.path))


async def step_events(found, control):
    passed = failed = number = 0
    async for each in as_they_come(scenario.verdicts(found, control)):
        if isinstance(each, client.Failed):
            each = ("the control port", str(each))
        title, failure = each
        number += 1
        passed, failed = passed + (failure is None), failed + (failure is not None)
        yield "step", {"number": number, "title": title, "passed": failure is None, "misses": (failure or "").splitlines()}
    yield "end", {"passed": passed, "failed": failed}


# --- recordings ---


async def make_recording(call):
    """Of what phones have asked this router."""
    journal = call.keeper.journal
    if journal is None:
        raise route.Refused(409, "state", "this router runs without a journal (script/server --no-journal)")
    since = call.query.get("since", 0)
    found = [exchange for number, exchange in journal.exchanges.items() if number > since and exchange.port and exchange.over]
    begun = found[0].began if found else 0
    exchanges = []
    for exchange in found:
        reading = exchange.read()
        path = reading.method_and_path.partition(" ")[2]
        exchanges.append({
            "at": (exchange.began - begun) / 1e6, "took": (exchange.ended - exchange.began) / 1e6, "path": path, "request": reading.request_body,
            "status": reading.http_status or 0, "reply": reading.reply_body,
        })  # fmt: skip
        await asyncio.sleep(0)  # others come to their turn
    facts = call.keeper.facts
    macs = [facts[name].replace(":", "") for name in ("ROUTER_LAN_MAC", "PHONE_MAC")]
    return recording.masked(exchanges, lambda reply: recording.known_macs(reply, *macs, facts["PHONE_PLACE"]))


def exchanges_of(call):
    try:
        return recording.load(json.dumps(call.body["recording"]))
    except recording.Wrong as error:
        raise route.Refused(400, "recording", str(error)) from None


def replay(call):
    exchanges = exchanges_of(call)
    ask = replaying.by_phone(client.Control(call.keeper.state.path), call.body.get("phone", 1))
    return exchange_events(replaying.verdicts(exchanges, ask, call.body.get("ignore", ())))


async def exchange_events(found):
    count = {"same": 0, "differs": 0, "passed over": 0}
    async for each in as_they_come(found):
        if isinstance(each, client.Failed):
            each = {"number": sum(count.values()) + 1, "verdict": "differs", "what": "no reply", "differences": [str(each)]}
        count[each["verdict"]] += 1
        yield "exchange", each
    yield "end", {"passed": count["same"], "failed": count["differs"]}


async def make_home(call):
    objects = json.loads(CONTRACT.read_text())["objects"]
    found, left_out = recording.home(exchanges_of(call), objects, int(call.keeper.facts["PHONE_PLACE"]), speech.ITEMS_BY_NAME)
    return {"home": found, "left_out": left_out}


TEXTS = route.a_list(route.TEXT)
TOML = route.an_object({"text": {"type": "string", "maxLength": 200_000, "description": "the file, as docs/scenarios.md describes it"}})
STORY = {"name": route.TEXT, "about": route.TEXT, "server": {**route.TEXT, "description": "options of script/server that it is meant for"}, "text": route.TEXT}
RECORDING = {"type": "object", "description": "what script/router record writes"}
STEP = {
    "type": "object",
    "description": "of an event \"step\": number, title, passed, misses; of \"end\", the last one: how many passed and failed",
    "properties": {"number": route.WHOLE, "title": route.TEXT, "passed": {"type": ["boolean", "integer"]}, "misses": TEXTS, "failed": route.WHOLE},
}
EXCHANGE = {
    "type": "object",
    "description": "of an event \"exchange\": number, verdict (same, differs, passed over), what, differences; of \"end\", the last one: how many passed and failed",
    "properties": {"number": route.WHOLE, "verdict": route.TEXT, "what": route.TEXT, "differences": TEXTS, "passed": route.WHOLE, "failed": route.WHOLE},
}
ROUTES = (
    route.Route("GET", "/api/scenarios", list_scenarios, "the scenarios that come with the virtual router", route.an_object({"scenarios": route.a_list(route.an_object(STORY))})),
    route.Route(
        "POST", "/api/scenarios/check", check_scenario, "what a scenario would do, and what is wrong with it",
        route.an_object({"about": route.TEXT, "server": route.TEXT, "steps": TEXTS}), TOML,
    ),
    route.Route("POST", "/api/scenarios/play", play_scenario, "play a scenario, and hear of each step as it comes out", STEP, TOML, kind=route.EVENTS),
    route.Route(
        "GET", "/api/recording", make_recording, "what phones have asked this router, behind request \"since\" of the journal, and its replies; what is private is masked", RECORDING,
        query={"since": {"type": "integer", "minimum": 0}}, refusals={409: "script/server runs with --no-journal"},
    ),
    route.Route(
        "POST", "/api/recording/replay", replay, "ask this router what a recording has, and hear where its replies differ", EXCHANGE,
        route.an_object({"recording": RECORDING, "phone": {**route.WHOLE, "minimum": 1, "maximum": 8}, "ignore": {**TEXTS, "description": "keys that may differ"}}, optional=("phone", "ignore")),
        kind=route.EVENTS, most_body=MOST_RECORDING_BYTES,
    ),
    route.Route(
        "POST", "/api/recording/home", make_home, "a home file in which the replies are those of a recording as far as can be, and what is not in it",
        route.an_object({"home": {"type": "object"}, "left_out": TEXTS}), route.an_object({"recording": RECORDING}), most_body=MOST_RECORDING_BYTES,
    ),
)  # fmt: skip
