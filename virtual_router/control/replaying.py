# SPDX-License-Identifier: MIT
"""Asking a running router what a recording has, and telling where its replies differ."""

from . import recording

LOGIN = {"user": "admin", "pwd": "admin"}
MOST_DIFFERENCES = 20  # that are told of a reply


def by_phone(control, phone):
    """How verdicts() asks: as the phone with that number, by way of the control port."""
    return lambda request: control.ask("POST", f"/api/phones/{phone}/app/app.cgi", request)


def verdicts(exchanges, ask, ignored=()):
    """Asks all of it, with a session of its own, and yields what became of each. The keys of `ignored` may differ."""
    ignored = {*recording.VARYING, *filter(None, ignored)}
    sessions = {}
    for number, exchange in enumerate(exchanges, 1):
        request, recorded = exchange["request"], exchange["reply"]
        if not isinstance(request, dict):
            yield {"number": number, "verdict": "passed over", "what": "what is no JSON object", "differences": []}
            continue
        reply = ask(own_request(request, recorded, sessions))
        given = session_of(reply)
        if given and session_of(recorded):
            sessions[session_of(recorded)] = given
        found = recording.differences(recorded, reply, ignored)
        what = " ".join([str(request.get("action")), ",".join(key for key in request if key not in ("action", "sessionid", "info"))])
        yield {"number": number, "verdict": "differs" if found else "same", "what": what.strip(), "differences": found[:MOST_DIFFERENCES]}


def session_of(reply):
    info = reply.get("info") if isinstance(reply, dict) else None
    return info.get("sessionid") if isinstance(info, dict) else None


def own_request(request, recorded, sessions):
    """With this router's session, and its account where the recorded one was let in."""
    request = dict(request)
    if request.get("sessionid") in sessions:
        request["sessionid"] = sessions[request["sessionid"]]
    if str(request.get("action")).lower() == "login" and session_of(recorded):
        request["info"] = LOGIN
    return request
