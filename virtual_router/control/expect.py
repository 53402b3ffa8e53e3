# SPDX-License-Identifier: MIT
"""Waiting for a request: one like this must come, with these effects, within so many seconds. Where none does, the answer tells the one
that came nearest, and what it lacked."""

import asyncio
import time

from . import matching, route

MOST_SECONDS = 600
NEAR_MISSES = 20  # texts of one


async def expect(call):
    journal = call.keeper.journal
    if journal is None:
        raise route.Refused(409, "journal", "this router notes no requests: it was started with --no-journal")
    try:
        wait = Wait(matching.Expectation(call.body))
        begun = time.monotonic()
        await wait.until_met(journal, call.body.get("seconds", 10), call.body.get("since"))
    except matching.Wrong as error:
        raise route.Refused(400, "expectation", str(error)) from None
    absent = call.body.get("absent", False)
    return {
        "met": (wait.number is None) == absent,
        "number": wait.number,
        "seconds": round(time.monotonic() - begun, 3),
        "seen": wait.seen,
        "near": wait.near if wait.number is None and not absent else None,
    }


class Wait:
    def __init__(self, expectation):
        self.expectation = expectation
        self.number = None  # of the request that was the one
        self.seen = 0
        self.near = None
        self.distance = None

    def look(self, exchange):
        reading = exchange.read()
        line = reading.line()
        distance, texts = self.expectation.check(line, reading)
        self.seen += 1
        if not texts:
            self.number = exchange.number
        elif self.distance is None or distance <= self.distance:  # of two, the later
            self.distance = distance
            self.near = {"number": exchange.number, "misses": texts[:NEAR_MISSES], **{key: line[key] for key in ("port", "action", "objects", "verdict")}}

    async def until_met(self, journal, seconds, since):
        with journal.follow() as follower:
            if since is not None:
                for number, exchange in list(journal.exchanges.items()):
                    if number > since and exchange.over and self.number is None:
                        self.look(exchange)
            try:
                async with asyncio.timeout(seconds):
                    while self.number is None:
                        _, exchange = await follower.take()
                        self.look(exchange)
            except asyncio.TimeoutError:
                pass


LINES = route.a_list({"type": "string", "minLength": 1, "maxLength": 4096}, maxItems=64)
EXPECTATION = route.an_object(
    {
        "seconds": {**route.NUMBER, "minimum": 0, "maximum": MOST_SECONDS, "description": "how long it is waited for; 10 if it is not said"},
        "since": {**route.WHOLE, "minimum": 0, "description": "requests behind this number of the journal count, too; without it those that come from now on"},
        "phone": {**route.WHOLE, "minimum": 1, "maximum": 8},
        "action": route.TEXT,
        "object": {**route.TEXT, "description": "an object that it names"},
        "request": {"type": "object", "description": "what is in the request; more may be there. A text that begins with ~ is a regular expression"},
        "reply": {"type": "object", "description": "what is in the reply"},
        "error": {**route.WHOLE, "description": "of the reply's result"},
        "effects": {**LINES, "description": "what it did, in this order: lines of virtual_router/vocabulary/events.conf, of which the end may be missing"},
        "never": {**LINES, "description": "what it did not do"},
        "absent": {**route.TRUTH, "description": "no such request must come"},
    },
    optional=("seconds", "since", "phone", "action", "object", "request", "reply", "error", "effects", "never", "absent"),
)
NEAR = {
    "type": ["object", "null"],
    "properties": {"number": route.WHOLE, "misses": route.a_list(route.TEXT), "port": route.or_null("string"), "action": route.or_null("string"), "objects": route.a_list(route.TEXT), "verdict": route.TEXT},
}
VERDICT = route.an_object({"met": route.TRUTH, "number": {**route.or_null("integer"), "description": "of the request, in the journal"}, "seconds": route.NUMBER, "seen": {**route.WHOLE, "description": "how many requests were looked at"}, "near": {**NEAR, "description": "the request that came nearest, and what it lacked"}})
ROUTES = (
    route.Route(
        "POST", "/api/expect", expect, "wait for a request: one like this must come, with these effects, within so many seconds", VERDICT, EXPECTATION,
        refusals={409: "the journal is switched off"}, example={"seconds": 5, "action": "set", "object": "wifi", "error": 0, "effects": ["set MIB_WLAN_SSID", "commit"]},
    ),
)  # fmt: skip
