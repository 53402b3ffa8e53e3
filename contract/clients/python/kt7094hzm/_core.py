# SPDX-License-Identifier: MIT
"""What both clients share: requests as bytes, replies and what they mean, the session, HTTP as text."""

from __future__ import annotations

import json
from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple, cast
from urllib.parse import urlsplit

from .errors import LoginRefused, NoReply, Refused, RouterError, SessionLost
from .types import CAUSES, ORDER, DutInfo, LanStatusDevlistEntry

LOGIN_FAIL = 7
Reply = Dict[str, Any]


class Session:
    """The session id in force. The generation tells sessions apart, for two logins within a second give the same id."""

    def __init__(self, session: Optional[str], on_lost: Optional[Callable[[], None]], on_new: Optional[Callable[[str], None]]) -> None:
        self.id = session
        self.generation = 0
        self.on_lost = on_lost
        self.on_new = on_new

    def take(self, reply: Reply) -> None:
        """Takes the session of a reply to a login."""
        if reply["result"]["error"] == LOGIN_FAIL:
            raise LoginRefused("login fail: name or password is wrong")
        session = reply.get("info", {}).get("sessionid")
        if reply["result"]["error"] != 0 or not isinstance(session, str):
            raise NoReply("the router made no session")
        self.id = session
        self.generation += 1
        if self.on_new is not None:
            self.on_new(session)

    def lost(self) -> None:
        if self.on_lost is not None:
            self.on_lost()


def is_lost(reply: Reply) -> bool:
    """Whether the router wants a login in place of doing what it was asked for."""
    return reply.get("action") == "loginRsp"


def lost_error() -> SessionLost:
    return SessionLost("need login: the session has ended, and somebody else may have one")


def device(reply: Reply) -> DutInfo:
    """What a scan tells."""
    if "dutInfo" not in reply:
        raise NoReply("what came is no reply to a scan")
    return cast(DutInfo, reply["dutInfo"])


def wanted(names: Tuple[str, ...], asked: Mapping[str, object]) -> Dict[str, object]:
    return {**{name: {} for name in names}, **asked}


def check(action: str, names: List[str], reply: Reply) -> Reply:
    """The reply, if all went well."""
    code = reply["result"]["error"]
    if code == 0:
        return reply
    raise refusal(action, int(code), str(reply["result"].get("msg", "")), names, reply)


def refusal(action: str, code: int, text: str, names: List[str], reply: Reply) -> RouterError:
    """Which object refused and why. A set marks the objects that it reached; of a get the message tells."""
    asked = [name for name in ORDER if name in names]
    reached = [name for name in asked if name in reply]
    last = reached[-1:]
    if action == "get":
        last = [name for name in last + asked if (action, name, text) in CAUSES][:1]
    name = last[0] if last else ""
    return Refused(action, code, text, name, CAUSES.get((action, name, text), ""))


# ---- devices

Devices = List[LanStatusDevlistEntry]


class Change:
    """The devices of the LAN, and which have come and gone since the look before."""

    def __init__(self, devices: Devices, before: Devices) -> None:
        here = {device["mac"] for device in devices}
        known = {device["mac"] for device in before}
        self.devices = devices
        self.joined = [device for device in devices if device["mac"] not in known]
        self.left = [device for device in before if device["mac"] not in here]


# ---- HTTP

class Endpoint:
    """Where requests go, and how they and the replies are written. HTTP 1.0: a reply ends with its connection."""

    def __init__(self, url: str) -> None:
        parts = urlsplit(url)
        if parts.scheme != "http" or not parts.hostname:
            raise ValueError(f"not the URL of an endpoint: {url}")
        self.host = parts.hostname
        self.port = parts.port or 80
        self.path = parts.path or "/app/app.cgi"

    def request(self, document: Mapping[str, object]) -> bytes:
        body = json.dumps(document).encode()
        head = f"POST {self.path} HTTP/1.0\r\nHost: {self.host}:{self.port}\r\nContent-Type: application/json\r\nContent-Length: {len(body)}\r\n\r\n"
        return head.encode() + body


def understand(response: bytes) -> Reply:
    head, _, body = response.partition(b"\r\n\r\n")
    status = head.split(b"\r\n")[0].decode("latin-1")
    try:
        # A name that was set with invalid UTF-8 comes back with it.
        reply = json.loads(body.decode("utf-8", "replace"))
        if isinstance(reply, dict) and "error" in reply.get("result", {}):
            return cast(Reply, reply)
    except (ValueError, AttributeError, TypeError):
        pass
    raise NoReply(f"{'an empty reply' if not body else 'what came is no reply of the router'}, {status or 'no HTTP status'}")


class Client:
    """What both clients are made with."""

    def __init__(
        self,
        url: str,
        user: str = "admin",
        password: str = "admin",
        *,
        session: Optional[str] = None,
        timeout: float = 10,
        relogin: bool = True,
        on_session_lost: Optional[Callable[[], None]] = None,
        on_session: Optional[Callable[[str], None]] = None,
    ) -> None:
        self._endpoint = Endpoint(url)
        self._user, self._password = user, password
        self._session = Session(session, on_session_lost, on_session)
        self._timeout, self._relogin = timeout, relogin
        self._begin()

    def _begin(self) -> None:
        """Makes what the client has besides."""
