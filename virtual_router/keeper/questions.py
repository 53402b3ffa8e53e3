# SPDX-License-Identifier: MIT
"""What script/router asks of the keeper, at a socket in the state folder. A question is a line of JSON, with the three descriptors that a
program is to have; the answer is a line of JSON when it is done. Whoever hangs up ends the program."""

import asyncio
import contextlib
import json
import os
import signal
import socket

import asking
import faults
import messages
import premises
import router
import status
from router import shell_status

MOST_PART = 1 << 15  # characters of a long answer in one message
# What the home's own program is told to do for these words.
OF_HOME = {"home": "ask", "clock": "clock"}


class WrongCall(Exception):
    """The question makes no sense here; the text says why."""


class Line:
    """To whoever has asked, for answers that are longer than a message or come one after another."""

    def __init__(self, control, connection):
        self.control = control
        self.connection = connection

    async def send(self, found):
        text = json.dumps(found)
        parts = [text[start : start + MOST_PART] for start in range(0, len(text), MOST_PART)]
        for index, part in enumerate(parts, 1):
            await self.control.loop.sock_sendall(self.connection, json.dumps({"part": part, "last": index == len(parts)}).encode())

    async def hung_up(self):
        await self.control.readable(self.connection)


class Questions:
    def __init__(self, keeper):
        self.keeper = keeper
        self.loop = asyncio.get_running_loop()
        self.talks = set()
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        address, fd = messages.socket_address(keeper.state.path)
        before = os.umask(0o177)
        try:
            self.listener.bind(address)
        finally:
            os.umask(before)
            os.close(fd)
        self.listener.listen(32)
        self.listener.setblocking(False)
        self.loop.add_reader(self.listener.fileno(), self.accept)

    def close(self):
        self.loop.remove_reader(self.listener.fileno())
        self.listener.close()
        for talk in self.talks:
            talk.cancel()

    def accept(self):
        try:
            connection, _ = self.listener.accept()
        except OSError:
            return
        talk = self.loop.create_task(self.serve(connection))
        self.talks.add(talk)
        talk.add_done_callback(self.talks.discard)

    async def readable(self, connection):
        ready = self.loop.create_future()
        fd = connection.fileno()
        self.loop.add_reader(fd, lambda: ready.done() or ready.set_result(None))
        try:
            await ready
        finally:
            self.loop.remove_reader(fd)

    async def serve(self, connection):
        fds = []
        with connection:
            connection.setblocking(False)
            try:
                await self.readable(connection)
                question, fds = messages.receive(connection)
                if question is None:
                    return
                answer = await self.answer(question, fds, connection)
            except (WrongCall, asking.Refused, faults.Refused, premises.Refused) as error:
                answer = {"status": 1, "refused": str(error)}
            except (OSError, ValueError, KeyError, TypeError):
                return
            finally:
                for fd in fds:
                    os.close(fd)
            with contextlib.suppress(OSError):
                messages.send(connection, answer)

    async def answer(self, question, fds, connection):
        keeper = self.keeper
        if not keeper.up:
            raise WrongCall("the router is just starting")
        words = [str(word) for word in question.get("words", ())]
        match question["verb"]:
            case "journal":
                return await asking.journal(keeper.journal, question, Line(self, connection))
            case "faults":
                if keeper.journal is None:
                    raise WrongCall("without a journal there are no faults (script/server --no-journal)")
                return await asking.faults(keeper.faults, question, Line(self, connection))
            case "status":
                return {"status": 0, "is": await status.of(keeper)}
            case "run":
                guest = question.get("of") or keeper.main.guest
                if guest not in keeper.routers:
                    raise WrongCall(f"there is no {guest}")
                self.check_on(keeper.routers[guest])
                environment = dict(router.ENVIRONMENT)
                if question.get("terminal"):
                    environment["TERM"] = str(question["terminal"])
                return await self.run(connection, fds, guest, words, environment, bool(question.get("terminal")))
            case "phone":
                return await self.run(connection, fds, None, words, keeper.tool_environment(), False, keeper.phone_network(int(question["number"])))
            case verb if verb in OF_HOME:
                if verb == "clock":
                    self.check_on(keeper.main)
                command = keeper.home_command(OF_HOME[verb], keeper.premises.mode.run, *words)
                return await self.run(connection, fds, None, command, keeper.tool_environment(), False)
        raise WrongCall("the keeper knows no such question")

    def check_on(self, found):
        if not found.on:
            raise WrongCall("the router is away: it starts anew")

    async def run(self, connection, fds, guest, words, environment, terminal, network=None):
        if len(fds) != 3:
            raise WrongCall("a program has three descriptors")
        part = await self.keeper.spawn(words[0], guest, words, environment, fds, terminal=terminal, network=network)
        hung_up = asyncio.ensure_future(self.readable(connection))
        try:
            await asyncio.wait([part.ended, hung_up], return_when=asyncio.FIRST_COMPLETED)
        finally:
            hung_up.cancel()
            with contextlib.suppress(asyncio.CancelledError):
                await hung_up
        if not part.ended.done():
            await self.keeper.order("kill", number=part.number, signal_number=signal.SIGKILL, group=True)
        return {"status": shell_status(await part.ended)}
