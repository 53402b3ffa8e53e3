# SPDX-License-Identifier: MIT
"""The journal and the faults: what requests were and did, and what they are made to meet. The same as script/router's words."""

import copies
import faults as armed
import journal as journals
from exchange import SESSIONS

from . import route

COUNT = {"type": "integer", "minimum": 0}
LIST_OF_TEXTS = route.a_list(route.TEXT)
LINE = {
    "number": route.WHOLE,
    "time": {**route.WHOLE, "description": "when it came: microseconds since 1970"},
    "duration": route.or_null("integer", description="microseconds; null while it is under way"),
    "router": route.TEXT,
    "port": route.or_null("string", description="such as \"phone 2\"; null: it came by no port of the PC"),
    "address": route.or_null("string"),
    "asks": {**route.TEXT, "description": "method and path"},
    "action": route.or_null("string"),
    "objects": LIST_OF_TEXTS,
    "session": {"enum": [*SESSIONS, None], "description": "; ".join(f"{name}: {meaning}" for name, meaning in SESSIONS.items())},
    "http": route.or_null("integer"),
    "error": route.or_null("integer", description="of the reply's result"),
    "verdict": {**route.TEXT, "description": "ok, under way, or what went wrong"},
    "faults": {**LIST_OF_TEXTS, "description": "those that were meant for it"},
}
EVENT = {
    "at": {**route.WHOLE, "description": "microseconds since the request came"},
    "word": route.TEXT,
    "fields": LIST_OF_TEXTS,
    "marks": {"type": "object"},
    "secret": route.TRUTH,
    "text": {**route.TEXT, "description": "the line, as virtual_router/vocabulary/events.conf describes it"},
}
WHOLE = {
    **LINE,
    "replied": route.or_null("integer", description="microseconds until whoever asked had the reply; app.scgi works on behind it"),
    "request": route.an_object({"head": route.TEXT, "body": route.TEXT, "cut": route.TRUTH}),
    "reply": route.an_object({"raw": route.TEXT, "body": route.TEXT, "cut": route.TRUTH}),
    "events": route.a_list(route.an_object(EVENT)),
    "deeds": {**route.a_list(route.an_object({"title": route.TEXT, "lines": LIST_OF_TEXTS, "untold": route.WHOLE})), "description": "what the system daemon did for it, and printed"},
    "exit": route.or_null("integer"),
    "signal": route.or_null("string"),
    "untold": {**route.TRUTH, "description": "more was told than is kept"},
    "refused_lines": {**LIST_OF_TEXTS, "description": "what was told and is no event"},
}
CONDITIONS = {
    "phone": COUNT, "action": route.TEXT, "object": route.TEXT, "since": COUNT, "text": route.TEXT, "failed": route.TRUTH,
}  # fmt: skip
FAULT = {"number": route.WHOLE, "fault": route.TEXT, "left": route.or_null("integer", description="requests"), "struck": {**route.WHOLE, "description": "requests so far"}}
FAULTS = route.an_object({"faults": route.a_list(route.an_object(FAULT))})
NONE_KEPT = {409: "script/server runs with --no-journal"}
CLEARED = route.an_object({"cleared": route.WHOLE})


def journal_of(call):
    if call.keeper.journal is None:
        raise route.Refused(409, "state", "this router runs without a journal (script/server --no-journal)")
    return call.keeper.journal


def wanted(call):
    return journals.Filter(**{name: value for name, value in call.query.items() if name in CONDITIONS})


async def show_journal(call):
    journal = journal_of(call)
    found = await journal.chosen(wanted(call), call.query.get("last"))
    return {"requests": found, "all": len(journal.exchanges), "gone": journal.gone}


def request_of(call):
    number = call.path["number"]
    found = journal_of(call).exchanges.get(int(number)) if number.isdigit() and len(number) < 16 else None
    if found is None:
        raise route.Refused(404, "request", f"the journal has no request {number}")
    return found


async def show_request(call):
    return request_of(call).read().whole(call.query.get("secrets", False))


async def copy_request(call):
    found = request_of(call)
    try:
        return {"text": copies.make(found, call.path["form"], call.query.get("secrets", False))}
    except copies.NoCopy as error:
        raise route.Refused(409, "copy", str(error)) from None


async def follow_journal(call):
    filtered = wanted(call)
    with journal_of(call).follow() as follower:
        while True:
            lost, exchange = await follower.take()
            if lost:
                yield "lost", {"lost": lost}
            line = exchange.line()
            if filtered.admits(line, exchange):
                yield "request", line


async def clear_journal(call):
    journal = journal_of(call)
    count = len(journal.exchanges)
    journal.clear()
    return {"cleared": count}


async def show_faults(call):
    return {"faults": call.keeper.faults.list()}


async def arm_faults(call):
    journal_of(call)
    made = []
    try:
        for line in call.body["faults"]:
            made.append(call.keeper.faults.add(line))
    except armed.Refused as refused:
        for found in made:  # all or none
            call.keeper.faults.clear(found.number)
        raise route.Refused(400, "fault", str(refused)) from None
    return await show_faults(call)


async def clear_faults(call):
    number = call.path.get("number")
    try:
        return {"cleared": call.keeper.faults.clear(None if number is None else int(number) if number.isdigit() else -1)}
    except armed.Refused as refused:
        raise route.Refused(404, "fault", str(refused)) from None


ROUTES = (
    route.Route(
        "GET", "/api/journal", show_journal, "the requests that are noted, oldest first; \"last\" so many of the last ones",
        route.an_object({"requests": route.a_list(route.an_object(LINE)), "all": route.WHOLE, "gone": {**route.WHOLE, "description": "older ones, for want of room"}}),
        query={**CONDITIONS, "last": {"type": "integer", "minimum": 1}}, refusals=NONE_KEPT,
    ),
    route.Route(
        "GET", "/api/journal/follow", follow_journal, "each request when it is over, as an event \"request\"; \"lost\" tells how many were not shown",
        route.an_object(LINE), query=CONDITIONS, refusals=NONE_KEPT, kind=route.EVENTS,
    ),
    route.Route(
        "GET", "/api/journal/{number}", show_request, "all of one request; what is secret is \"***\" without \"secrets\"", route.an_object(WHOLE),
        query={"secrets": route.TRUTH}, refusals={404: "there is no such request, or no more", **NONE_KEPT},
    ),
    route.Route(
        "GET", "/api/journal/{number}/as/{form}", copy_request, f"one request as something to go on with: {', '.join(copies.FORMS)}", route.an_object({"text": route.TEXT}),
        query={"secrets": route.TRUTH}, refusals={404: "there is no such request, or no more", **NONE_KEPT},
    ),
    route.Route("DELETE", "/api/journal", clear_journal, "forget all requests; numbers go on", CLEARED, refusals=NONE_KEPT),
    route.Route("GET", "/api/faults", show_faults, "the faults that are armed", FAULTS),
    route.Route(
        "POST", "/api/faults", arm_faults, "arm faults, lines of virtual_router/vocabulary/faults.conf: all of them or none", FAULTS,
        route.an_object({"faults": route.a_list({"type": "string", "minLength": 1, "maxLength": 200}, minItems=1, maxItems=16)}),
        refusals=NONE_KEPT, example={"faults": ["requests=3 delay=2000000 reply"]},
    ),
    route.Route("DELETE", "/api/faults", clear_faults, "clear all faults", CLEARED),
    route.Route("DELETE", "/api/faults/{number}", clear_faults, "clear one fault", CLEARED, refusals={404: "there is no such fault"}),
)  # fmt: skip
