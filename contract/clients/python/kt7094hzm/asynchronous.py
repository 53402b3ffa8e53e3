# SPDX-License-Identifier: MIT
"""The client for asyncio. Cancelling a task cancels its request; a login that others wait for goes on."""

from __future__ import annotations

import asyncio
from contextlib import suppress
from typing import AsyncIterator, Callable, Mapping, Optional, cast

from ._core import Change, Client, Devices, Reply, check, device, is_lost, lost_error, understand, wanted
from .errors import NoReply, Refused, RouterError, TimedOut
from .types import DutInfo, Objects, Settings


class AsyncRouter(Client):
    """As Router, with coroutines in place of functions that wait."""

    def _begin(self) -> None:
        self._logging_in: Optional["asyncio.Task[None]"] = None

    async def scan(self) -> DutInfo:
        """What device this is; needs no session."""
        return device(await self._send({"action": "scan"}))

    async def login(self) -> None:
        """Starts a session, which ends the router's one before. Who calls while a login is under way gets that one."""
        if self._logging_in is None or self._logging_in.done():
            self._logging_in = asyncio.ensure_future(self._start_session())
            self._logging_in.add_done_callback(lambda task: task.cancelled() or task.exception())  # also if nobody waits any more
        await asyncio.shield(self._logging_in)

    async def logout(self) -> None:
        if self._session.id is not None:
            await self._ask("set", {"logout": 1}, again=False)
            self._session.id = None

    async def get(self, *names: str, timeout: Optional[float] = None, **asked: Mapping[str, object]) -> Objects:
        """Reads objects: get("lan", "wifi"), or with what is wanted: get(netDig={"ping": {"dst": "192.168.1.1"}})."""
        return cast(Objects, await self._ask("get", wanted(names, asked), timeout=timeout))

    async def set(self, settings: Settings, timeout: Optional[float] = None) -> None:
        """Changes objects. The first that refuses ends the request; those before it, in the router's order, are changed."""
        await self._ask("set", cast(Mapping[str, object], settings), timeout=timeout)

    async def watch_devices(self, interval: float = 5) -> AsyncIterator[Change]:
        """The devices of the LAN, again and again, and which have come and gone."""
        before: Devices = []
        while True:
            change = Change((await self.get("lanStatus"))["lanStatus"]["devlist"], before)
            before = change.devices
            yield change
            await asyncio.sleep(interval)

    async def pair(self, until: Callable[[int], bool] = lambda status: status > 1, interval: float = 1, patience: float = 120) -> int:
        """Starts pairing by push button, and waits for a status that `until` accepts; cancels the pairing when none comes."""
        before = await self._pairing_status()
        await self.set({"wps": {"wpsbutton": 1}})
        deadline, changed = asyncio.get_running_loop().time() + patience, False
        try:
            while asyncio.get_running_loop().time() < deadline:
                status = await self._pairing_status()
                changed = changed or status != before  # until the daemon has seen the button, it tells of the last pairing
                if changed and status is not None and until(status):
                    return status
                await asyncio.sleep(interval)
            raise TimedOut(f"no pairing within {patience} s")
        except BaseException:
            with suppress(RouterError):  # what went wrong first is of more use
                await self.set({"wps": {"wpsbutton": 0}})
            raise

    async def _pairing_status(self) -> Optional[int]:
        """None while the pairing daemon has reported nothing, as before the first pairing: the router refuses to tell then."""
        try:
            return (await self.get("wps"))["wps"]["status"]
        except Refused:
            return None

    # ---- one request

    async def _ask(self, action: str, objects: Mapping[str, object], timeout: Optional[float] = None, again: Optional[bool] = None) -> Reply:
        """Asks with a session; when it is lost, once more with a new one."""
        if self._session.id is None:
            await self.login()
        generation = self._session.generation
        reply = await self._send({"action": action, **objects, "sessionid": self._session.id}, timeout)
        if is_lost(reply):
            if not (self._relogin if again is None else again):
                raise lost_error()
            # Another task may have found out and logged in already, or be about to.
            if generation == self._session.generation:
                if self._logging_in is None or self._logging_in.done():
                    self._session.lost()
                await self.login()
            reply = await self._send({"action": action, **objects, "sessionid": self._session.id}, timeout)
            if is_lost(reply):
                raise lost_error()
        return check(action, list(objects), reply)

    async def _start_session(self) -> None:
        self._session.take(await self._send({"action": "login", "info": {"user": self._user, "pwd": self._password}}))

    async def _send(self, document: Mapping[str, object], timeout: Optional[float] = None) -> Reply:
        seconds = self._timeout if timeout is None else timeout
        try:
            return understand(await asyncio.wait_for(self._exchange(document), seconds))
        except asyncio.TimeoutError as error:
            raise TimedOut(f"no reply within {seconds} s") from error
        except OSError as error:
            raise NoReply(f"the router can't be reached: {error}") from error

    async def _exchange(self, document: Mapping[str, object]) -> bytes:
        reader, writer = await asyncio.open_connection(self._endpoint.host, self._endpoint.port)
        try:
            writer.write(self._endpoint.request(document))
            await writer.drain()
            return await reader.read()
        finally:
            writer.close()
