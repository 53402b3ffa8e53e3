# SPDX-License-Identifier: MIT
"""The client for programs without asyncio. Threads may share one."""

from __future__ import annotations

import socket
import threading
import time
from contextlib import suppress
from typing import Callable, Iterator, Mapping, Optional, cast

from ._core import Change, Client, Devices, Reply, check, device, is_lost, lost_error, understand, wanted
from .errors import NoReply, Refused, RouterError, TimedOut
from .types import DutInfo, Objects, Settings


class Router(Client):
    """A router. `timeout` is in seconds, for one request; a session that was lost is replaced once for a request.

    `on_session_lost` is called when the session turned out to be lost: the router has one at a time, so as a rule somebody
    else logged in. `on_session` is called with every new session id, for those who keep it and give it as `session`.
    """

    def _begin(self) -> None:
        self._login_lock = threading.Lock()

    def scan(self) -> DutInfo:
        """What device this is; needs no session."""
        return device(self._send({"action": "scan"}))

    def login(self) -> None:
        """Starts a session, which ends the router's one before."""
        with self._login_lock:
            self._start_session()

    def logout(self) -> None:
        if self._session.id is not None:
            self._ask("set", {"logout": 1}, again=False)
            self._session.id = None

    def get(self, *names: str, timeout: Optional[float] = None, **asked: Mapping[str, object]) -> Objects:
        """Reads objects: get("lan", "wifi"), or with what is wanted: get(netDig={"ping": {"dst": "192.168.1.1"}})."""
        return cast(Objects, self._ask("get", wanted(names, asked), timeout=timeout))

    def set(self, settings: Settings, timeout: Optional[float] = None) -> None:
        """Changes objects. The first that refuses ends the request; those before it, in the router's order, are changed."""
        self._ask("set", cast(Mapping[str, object], settings), timeout=timeout)

    def watch_devices(self, interval: float = 5) -> Iterator[Change]:
        """The devices of the LAN, again and again, and which have come and gone."""
        before: Devices = []
        while True:
            change = Change(self.get("lanStatus")["lanStatus"]["devlist"], before)
            before = change.devices
            yield change
            time.sleep(interval)

    def pair(self, until: Callable[[int], bool] = lambda status: status > 1, interval: float = 1, patience: float = 120) -> int:
        """Starts pairing by push button, and waits for a status that `until` accepts; cancels the pairing when none comes."""
        before = self._pairing_status()
        self.set({"wps": {"wpsbutton": 1}})
        deadline, changed = time.monotonic() + patience, False
        try:
            while time.monotonic() < deadline:
                status = self._pairing_status()
                changed = changed or status != before  # until the daemon has seen the button, it tells of the last pairing
                if changed and status is not None and until(status):
                    return status
                time.sleep(interval)
            raise TimedOut(f"no pairing within {patience} s")
        except BaseException:
            with suppress(RouterError):  # what went wrong first is of more use
                self.set({"wps": {"wpsbutton": 0}})
            raise

    def _pairing_status(self) -> Optional[int]:
        """None while the pairing daemon has reported nothing, as before the first pairing: the router refuses to tell then."""
        try:
            return self.get("wps")["wps"]["status"]
        except Refused:
            return None

    # ---- one request

    def _ask(self, action: str, objects: Mapping[str, object], timeout: Optional[float] = None, again: Optional[bool] = None) -> Reply:
        """Asks with a session; when it is lost, once more with a new one."""
        if self._session.id is None:
            self._renew(self._session.generation, known=True)
        generation = self._session.generation
        reply = self._send({"action": action, **objects, "sessionid": self._session.id}, timeout)
        if is_lost(reply):
            if not (self._relogin if again is None else again):
                raise lost_error()
            self._renew(generation, known=False)
            reply = self._send({"action": action, **objects, "sessionid": self._session.id}, timeout)
            if is_lost(reply):
                raise lost_error()
        return check(action, list(objects), reply)

    def _renew(self, generation: int, known: bool) -> None:
        """Logs in, unless another thread has done so since that generation."""
        with self._login_lock:
            if generation == self._session.generation:
                if not known:
                    self._session.lost()
                self._start_session()

    def _start_session(self) -> None:
        self._session.take(self._send({"action": "login", "info": {"user": self._user, "pwd": self._password}}))

    def _send(self, document: Mapping[str, object], timeout: Optional[float] = None) -> Reply:
        seconds = self._timeout if timeout is None else timeout
        deadline = time.monotonic() + seconds
        try:
            with socket.create_connection((self._endpoint.host, self._endpoint.port), seconds) as connection:
                connection.sendall(self._endpoint.request(document))
                response = b""
                while True:
                    left = deadline - time.monotonic()
                    if left <= 0:
                        raise TimedOut(f"no reply within {seconds} s")
                    connection.settimeout(left)
                    data = connection.recv(65536)
                    if not data:
                        return understand(response)
                    response += data
        except socket.timeout as error:
            raise TimedOut(f"no reply within {seconds} s") from error
        except OSError as error:
            raise NoReply(f"the router can't be reached: {error}") from error
