# SPDX-License-Identifier: MIT
"""Requests to the machine's web servers, and the story that a phone tells it."""

import concurrent.futures
import http.client
import json
import re

from machine import FIRMWARE_DATE

PATIENCE = 60  # seconds for a reply
ADDRESS = "127.0.0.1"


def post(port, body):
    """(status, content type, body) of a request. The status is 0 when there is no answer that HTTP knows."""
    connection = http.client.HTTPConnection(ADDRESS, port, timeout=PATIENCE)
    try:
        connection.request("POST", "/app/app.cgi", body)
        answer = connection.getresponse()
        return answer.status, answer.getheader("Content-Type", ""), answer.read()
    except (http.client.HTTPException, OSError) as error:
        return 0, "", f"{type(error).__name__}: {error}".encode()
    finally:
        connection.close()


def ask(port, request):
    """The reply to a request, as JSON; what is no such reply, as a text."""
    status, kind, body = post(port, json.dumps(request))
    try:
        return json.loads(body) if status == 200 and kind == "application/json" else f"{status} {kind} {body!r}"
    except ValueError:
        return f"no JSON: {body!r}"


class Steps:
    """Counts steps, and prints those that went wrong."""

    def __init__(self):
        self.passed = self.failed = 0

    def expect(self, name, seen, wanted):
        if seen == wanted:
            self.passed += 1
        else:
            self.failed += 1
            print(f"FAILED   {name}\n    expected {wanted}\n    seen     {seen}")


NEED_LOGIN = {"action": "loginRsp", "result": {"error": 6, "msg": "need login"}}
SCAN = {"action": "scanRsp", "result": {"error": "0"}}
WRONG = {"info": {}, "action": "loginRsp", "result": {"error": 7, "msg": "login fail"}}
GET = {"action": "get", "app": {}}
CROWD = 6  # which the web server lets wait at once: beyond 9 it drops some


def app(port):
    return {"action": "getRsp", "result": {"error": 0}, "app": {"port": port, "ticktime": 5}}


def tell_story(steps, way, port):
    """Logs in, reads, writes, reads again, logs out; and what must be refused is. Leaves the object "app" with port 80."""
    def step(name, request, wanted):
        steps.expect(f"{way}: {name}", ask(port, request), wanted)

    def login(password):
        return {"action": "login", "info": {"user": "admin", "pwd": password}}

    found = ask(port, {"action": "scan"})
    about = found.pop("dutInfo", {}).get("date") if isinstance(found, dict) else None
    steps.expect(f"{way}: it is found, by the day of its firmware", (found, about), (SCAN, FIRMWARE_DATE))
    step("without a session nothing is read", GET, NEED_LOGIN)
    step("a wrong password is refused", login("wrong"), WRONG)
    step("and makes no session", GET, NEED_LOGIN)
    reply = ask(port, login("admin"))
    session = reply.get("info", {}).get("sessionid", "") if isinstance(reply, dict) else ""
    steps.expect(f"{way}: the right one makes a session", bool(re.fullmatch("Us[0-9a-f]{32}", session)) or reply, True)
    mine = {"sessionid": session}
    for number in (8080, 80):
        step("set", {**mine, "action": "set", "app": {"port": number, "ticktime": 5}}, {"action": "setRsp", "result": {"error": 0}, "app": "1"})
        step("get", {**GET, **mine}, app(number))
    step("another id is refused", {**GET, "sessionid": session[:-1] + "x"}, NEED_LOGIN)
    with concurrent.futures.ThreadPoolExecutor(CROWD) as pool:
        replies = list(pool.map(lambda _: ask(port, {**GET, **mine}), range(CROWD)))
    steps.expect(f"{way}: {CROWD} at once", [reply for reply in replies if reply != app(80)], [])
    step("logout", {**mine, "action": "set", "logout": 1}, {"action": "setRsp", "result": {"error": 0}, "logout": "1"})
    step("behind which nothing is read", {**GET, **mine}, NEED_LOGIN)
