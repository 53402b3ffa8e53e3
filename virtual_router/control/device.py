# SPDX-License-Identifier: MIT
"""The router as a device: what runs, its clock, its home, its settings and commands, switching it off and on. The same as
script/router's words."""

import json

import status
from router import ENVIRONMENT

from . import route

MOST_OUTPUT_BYTES = 1 << 20
SAID = route.an_object({"text": route.TEXT})
WORD = {"type": "string", "minLength": 1, "maxLength": 4096}
AWAY = {409: "the router is starting or away, or has no home"}
OUTCOME = route.an_object({"status": {**route.WHOLE, "description": "exit status"}, "output": route.TEXT})
# Exit statuses of the home's program: 1 is no fault of the words.
OF_STATUS = {1: (409, "state"), 2: (400, "words")}


def check_up(keeper):
    if not keeper.up:
        raise route.Refused(409, "starting", "the router is just starting")


def check_on(keeper):
    check_up(keeper)
    if not keeper.main.on:
        raise route.Refused(409, "away", "the router is away: it starts anew")


async def beside(keeper, *words):
    """What the home's program says to these words."""
    result, output = await keeper.outcome(None, keeper.home_command(*words), keeper.tool_environment(), MOST_OUTPUT_BYTES)
    text = output.decode(errors="replace").rstrip("\n")
    if result != 0:
        number, code = OF_STATUS.get(result, (500, "home"))
        raise route.Refused(number, code, text)
    return text


async def home_order(keeper, *words):
    check_up(keeper)
    return await beside(keeper, "ask", keeper.premises.mode.run, *words)


async def clock_order(keeper, *words):
    check_on(keeper)
    return await beside(keeper, "clock", keeper.premises.mode.run, *words)


async def show_status(call):
    return await status.of(call.keeper)


async def show_home(call):
    return json.loads(await home_order(call.keeper, "show", "--json"))


async def act_on_home(call):
    return {"text": await home_order(call.keeper, call.path["verb"], *call.body.get("words", ()))}


async def show_clock(call):
    text = await clock_order(call.keeper)
    nanoseconds, rate = await call.keeper.clock()
    return {"seconds": nanoseconds / 1e9, "rate": rate / 1000, "text": text}


async def act_on_clock(call):
    await clock_order(call.keeper, call.path["verb"], *call.body.get("words", ()))
    return await show_clock(call)


async def run(call):
    keeper = call.keeper
    check_on(keeper)
    result, output = await keeper.outcome(keeper.main.guest, call.body["command"], ENVIRONMENT, MOST_OUTPUT_BYTES)
    return {"status": result, "output": output.decode(errors="replace")}


async def reboot(call):
    keeper = call.keeper
    check_on(keeper)
    if status.condition(keeper) != "up":
        raise route.Refused(409, "away", "the router is starting anew already")
    keeper.reset_wanted(keeper.main)
    if call.body.get("wait", False):
        await keeper.outage_over()
    return await status.of(keeper)


CLOCK = route.an_object({"seconds": {**route.NUMBER, "description": "since 1970 in UTC"}, "rate": route.NUMBER, "text": route.TEXT})
ROUTES = (
    route.Route("GET", "/api/status", show_status, "what runs, where, since when, and which requests are in flight", status.SCHEMA),
    route.Route("GET", "/api/home", show_home, "the home at this moment", {"type": "object"}, refusals=AWAY),
    route.Route(
        "POST", "/api/home/{verb}", act_on_home, "act on the home with a verb of script/router home", SAID, route.WORDS, refusals=AWAY,
        example={"words": ["tablet", "away"]},
    ),
    route.Route("GET", "/api/clock", show_clock, "the router's clock", CLOCK, refusals=AWAY),
    route.Route(
        "POST", "/api/clock/{verb}", act_on_clock, "move the router's clock with a verb of script/router clock: set, advance, rate", CLOCK,
        route.WORDS, refusals=AWAY, example={"words": ["2h"]},
    ),
    route.Route(
        "POST", "/api/run", run, "run a command of the router, and wait for its end", OUTCOME,
        route.an_object({"command": route.a_list(WORD, minItems=1, maxItems=64)}), refusals=AWAY, example={"command": ["flash", "get", "MIB_DUT_NAME"]},
    ),
    route.Route(
        "POST", "/api/reboot", reboot, "have the router start anew; with \"wait\" the reply comes when it is back", status.SCHEMA,
        route.an_object({"wait": route.TRUTH}, optional=("wait",)), refusals=AWAY,
    ),
)  # fmt: skip
