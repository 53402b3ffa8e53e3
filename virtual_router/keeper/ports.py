# SPDX-License-Identifier: MIT
"""The PC's ports: each leads to a router's web server, as somebody of its network would reach it."""

import asyncio
import contextlib
import http
import itertools
import socket
import struct
import time
from typing import NamedTuple

import faults
import gate as gates
import journal as journals
import premises
from bodies import json_object

LOOPBACK = "127.0.0.1"
ALL_ADDRESSES = ""
BACKLOG = 128
MOST_CONNECTIONS = 512
HEAD_SECONDS = 60
SERVER_SECONDS = 5  # how long a web server that is just starting is waited for
LINGER_SECONDS = 2  # how long a client may take to notice that the server has closed
MOST_READ_AHEAD = 1 << 20  # of a body, where faults are armed
SILENT_SECONDS = 600  # how long a reply that never comes is waited for
CHUNK = 65536
REASONS = {status.value: status.phrase for status in http.HTTPStatus}


class PortTaken(Exception):
    pass


class InFlight(NamedTuple):
    port: str
    request: str
    since: float


class Target(NamedTuple):
    """Where a port leads: a network of the premises and an address there; `announced` is the line that tells the web server who the
    client is where the network cannot."""

    network: str | None
    address: tuple | None
    announced: str = ""


class Port:
    """`find_target` returns the Target at this moment, or None."""

    def __init__(self, name, number, find_target, say, hosts=(), origins=(), router="router", journal=None, faults=None, address=LOOPBACK):
        self.name = name
        self.router = router  # the guest that it leads to
        self.journal = journal
        self.faults = faults
        kind, _, number_of_kind = name.partition(" ")
        self.phone = int(number_of_kind or 1) if kind == "phone" else None
        self.number = number
        self.find_target = find_target
        self.say = say
        self.gate = gates.Gate(number, hosts, origins)
        self.connections = {}  # task -> the client's socket
        self.in_flight = {}
        self.awaiting = set()  # exchanges of which the router has the whole request, and the client not yet the whole reply
        self.numbers = itertools.count(1)
        self.open = False
        self.listener = socket.socket()
        self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.listener.setblocking(False)
        try:
            self.listener.bind((address, number))
            self.listener.listen(BACKLOG)  # which another's listening would not let it do
            self.listener.shutdown(socket.SHUT_RDWR)
        except OSError as error:
            self.listener.close()
            raise PortTaken(f"Port {number} of {address or 'this PC'} cannot be used: {error.strerror}") from None

    def attach(self, order, take_session):
        """`take_session` has the session gone, or another's."""
        self.order = order
        self.take_session = take_session
        self.loop = asyncio.get_running_loop()

        self.passing = asyncio.Event()  # requests are passed on; the others wait
        self.passing.set()

    def start(self):
        if not self.open and not (self.faults and self.faults.refuses(self.phone)):
            self.open = True
            self.listener.listen(BACKLOG)
            self.loop.add_reader(self.listener.fileno(), self.accept)

    def refuse(self):
        """Keeps the port, and has connections refused."""
        if self.open:
            self.open = False
            self.loop.remove_reader(self.listener.fileno())
            self.listener.shutdown(socket.SHUT_RDWR)

    def cut(self):
        """Ends all connections with a reset, as when the other end has gone."""
        for task, client in list(self.connections.items()):
            reset(client)
            task.cancel()

    def close(self):
        self.refuse()
        self.cut()
        self.listener.close()

    def accept(self):
        while True:
            try:
                client, peer = self.listener.accept()
            except OSError:
                return
            if len(self.connections) >= MOST_CONNECTIONS:
                client.close()
                continue
            client.setblocking(False)
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            task = self.loop.create_task(self.serve(client, peer[1]))  # it may hang up at any moment
            self.connections[task] = client
            task.add_done_callback(self.connections.pop)

    async def serve(self, client, client_port):
        number = next(self.numbers)
        exchange = None
        try:
            head, rest = await asyncio.wait_for(self.read_head(client), HEAD_SECONDS)
            if head is None:
                return
            exchange = self.journal.begin(self.router, self.name) if self.journal else Unnoted()
            exchange.head, exchange.port_number = head, self.number
            try:
                request = self.gate.admit(head)
            except gates.Refusal as refusal:
                exchange.note = f"turned away at the port: {refusal.status}"
                self.say(f"port {self.number}: {refusal.status}: {refusal}")
                await self.answer(client, refusal.status, f"{refusal}\n", exchange)
                return
            if request.preflight:
                exchange.note = "a browser's preflight"
                await self.send(client, self.gate.preflight_answer(request), exchange)
                await self.linger(client)
                return
            await self.passing.wait()
            self.in_flight[number] = InFlight(self.name, f"{request.method} {request.target}", time.time())
            await self.pass_on(client, client_port, request, rest, exchange)
        except (OSError, asyncio.TimeoutError, premises.Refused) as error:
            if exchange is not None:
                exchange.note = exchange.note or f"the connection ended: {error or 'nobody answers'}"
            reset(client)
        except asyncio.CancelledError:
            if exchange is not None:
                exchange.note = exchange.note or "cut: the router went away"
            raise
        finally:
            self.in_flight.pop(number, None)
            client.close()
            if exchange is not None and self.journal:
                self.journal.end(exchange)

    async def send(self, client, data, exchange):
        exchange.reply.add(data)
        await self.loop.sock_sendall(client, data)
        exchange.replied = journals.now()

    async def read_head(self, client):
        data = b""
        while b"\r\n\r\n" not in data:
            more = await self.loop.sock_recv(client, CHUNK)
            data += more
            if not more:
                return None, b""
            if len(data) > gates.MOST_HEAD_BYTES and b"\r\n\r\n" not in data[: gates.MOST_HEAD_BYTES]:
                await self.answer(client, "431 Request Header Fields Too Large", "The head of the request is too long.\n", Unnoted())
                return None, b""
        head, end, rest = data.partition(b"\r\n\r\n")
        return head + end, rest

    async def answer(self, client, status, text, exchange):
        body = text.encode()
        head = f"HTTP/1.1 {status}\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: {len(body)}\r\nConnection: close\r\n\r\n"
        await self.send(client, head.encode() + body, exchange)
        await self.linger(client)

    async def linger(self, client):
        """Lets the client read its answer before its own unread bytes would have the connection reset."""
        client.shutdown(socket.SHUT_WR)
        with contextlib.suppress(asyncio.TimeoutError):
            async with asyncio.timeout(LINGER_SECONDS):
                while await self.loop.sock_recv(client, CHUNK):
                    pass

    async def connect(self, client_port):
        target = self.find_target()
        if target is None:
            self.say(f"port {self.number}: nobody on this side knows an address of the router")
            raise OSError
        deadline = time.monotonic() + SERVER_SECONDS
        while True:
            try:
                async with asyncio.timeout(max(0.1, deadline - time.monotonic())):
                    return await reach(self.order, target, client_port)
            except (OSError, premises.Refused, asyncio.TimeoutError):
                if time.monotonic() >= deadline:
                    self.say("The router's web server does not answer.")
                    raise OSError from None
                await asyncio.sleep(0.02)

    async def choose_faults(self, client, request, rest, exchange):
        """What befalls this request, and what has been read of its body: all of it, if that is asked for."""
        if not (self.faults and self.faults.armed):
            return faults.NOTHING, rest
        while request.length is not None and len(rest) < min(request.length, MOST_READ_AHEAD):
            data = await self.loop.sock_recv(client, CHUNK)
            if not data:
                break
            rest += data
        found = asked_for(rest if request.length is None else rest[: request.length])
        chosen = self.faults.choose(self.phone, *found)
        exchange.faults = chosen.lines
        return chosen, rest

    async def befall(self, client, chosen, exchange):
        """Does what comes before the router is asked. False: it is not asked any more."""
        if how := chosen.how(faults.SESSION):
            await self.take_session(how)
        for call in (faults.SESSION, faults.CONNECT):
            await asyncio.sleep(chosen.seconds.get(call, 0))
        if chosen.how(faults.CONNECT):
            exchange.note = "refused, by a fault"
            reset(client)
            return False
        how = chosen.how(faults.REPLY)
        if how and how.isdigit():
            await asyncio.sleep(chosen.seconds.get(faults.REPLY, 0))
            exchange.note = f"HTTP {how}, by a fault"
            await self.answer(client, f"{how} {REASONS.get(int(how), 'Fault')}", "The web server has a fault.\n", exchange)
            return False
        return True

    async def pass_on(self, client, client_port, request, rest, exchange):
        """Passes one request on, and its reply back. The web server is not told when the client hangs up after its request: it would
        kill the program that is at work on it."""
        chosen, rest = await self.choose_faults(client, request, rest, exchange)
        if chosen.faults and not await self.befall(client, chosen, exchange):
            return
        server = await self.connect(client_port)
        with server:
            requests = self.loop.create_task(self.pass_request(client, server, request, rest, exchange, chosen))
            try:
                await self.pass_reply(client, server, request, exchange, chosen)
            finally:
                requests.cancel()
                self.awaiting.discard(exchange)
            if chosen.how(faults.REPLY) == "none":
                exchange.note = "its reply was lost, by a fault"
                with contextlib.suppress(OSError, asyncio.TimeoutError):
                    async with asyncio.timeout(SILENT_SECONDS):
                        while await self.loop.sock_recv(client, CHUNK):
                            pass
                return
            with contextlib.suppress(OSError):
                await self.linger(client)

    async def pass_request(self, client, server, request, rest, exchange, chosen):
        left = request.length
        begun = rest if left is None else rest[:left]
        exchange.body.add(begun)
        data = self.told(request.head, exchange, chosen) + begun
        left = None if left is None else left - len(begun)
        try:
            await self.loop.sock_sendall(server, data)
            if not left:  # without a length there is no body
                self.awaiting.add(exchange)
            while left is None or left > 0:
                data = await self.loop.sock_recv(client, CHUNK if left is None else min(left, CHUNK))
                if not data:
                    # Half a request is none.
                    if left is not None:
                        server.shutdown(socket.SHUT_RDWR)
                    return
                left = None if left is None else left - len(data)
                exchange.body.add(data)
                await self.loop.sock_sendall(server, data)
                if left == 0:
                    self.awaiting.add(exchange)
        except OSError:
            pass

    def told(self, head, exchange, chosen):
        """The head as the web server gets it: it says which request this is and what befalls it, so that app.cgi's tap knows."""
        if not self.journal:
            return head
        lines = gates.OF_KEEPER + b"Request: " + self.journal.expect(exchange).encode() + b"\r\n"
        if told := chosen.tap_lines:
            lines += gates.OF_KEEPER + b"Faults: " + ";".join(told).encode() + b"\r\n"
        return head.removesuffix(b"\r\n") + lines + b"\r\n"

    async def pass_reply(self, client, server, request, exchange, chosen):
        lost = False  # the client takes no more; what comes is dropped
        head = gates.ReplyHead(self.gate.permission(request))
        spoilt = Spoilt(chosen)
        more = True
        while more:
            more = await self.loop.sock_recv(server, CHUNK)
            try:
                data = head.make_of(more) if more else head.end()
            except gates.Unlike:
                exchange.note = "what the web server answers is no reply of HTTP"
                await self.answer(client, "502 Bad Gateway", "What the web server answers is no reply of HTTP.\n", exchange)
                return
            if chosen.faults and data:
                data = await spoilt.make_of(data)
            if not lost and data:
                try:
                    await self.send(client, data, exchange)
                except OSError:
                    lost = True
                    exchange.note = "the client hung up before its reply"


class Spoilt:
    """What a fault leaves of a reply."""

    def __init__(self, chosen):
        self.how = chosen.how(faults.REPLY) or ""
        self.late = chosen.seconds.get(faults.REPLY, 0)
        self.chance = chosen.failing(faults.REPLY).chance if self.how else None
        self.left = int(self.how.removeprefix("cut:")) if self.how.startswith("cut:") else 0
        self.head = b""
        self.in_body = False

    async def make_of(self, data):
        """What is sent in the place of the next bytes."""
        if self.late:
            late, self.late = self.late, 0
            await asyncio.sleep(late)
        if not self.how:
            return data
        if self.how == "none":
            return b""
        head = b""
        if not self.in_body:
            before, end, rest = (self.head + data).partition(b"\r\n\r\n")
            head = data if not end else (before + end)[len(self.head) :]
            self.head += data
            self.in_body, data = bool(end), rest if end else b""
        if self.how == "garbage":
            return head + self.chance.randbytes(len(data))
        kept, self.left = data[: self.left], max(0, self.left - len(data))
        return head + kept


def asked_for(body):
    """(action, objects) of a request's body."""
    found = json_object(body) or {}
    action = next((value for key, value in found.items() if key.lower() == "action"), None)
    return action if isinstance(action, str) else None, list(found)


class Unnoted:
    """What a request leaves where there is no journal."""

    head = note = ""
    port_number = None
    faults = ()

    class Nothing:
        def add(self, _):
            pass

    body = reply = Nothing()


async def reach(order, target, client_port):
    """A connection to where a port leads."""
    loop = asyncio.get_running_loop()
    (fd,) = await order("socket", network=target.network)
    server = socket.socket(fileno=fd)
    server.setblocking(False)
    try:
        if target.address:
            server.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            await loop.sock_connect(server, target.address)
        if target.announced:
            await loop.sock_sendall(server, target.announced.format(client_port).encode())
    except BaseException:
        server.close()
        raise
    return server


async def answers(order, target):
    """Whether a web server answers there."""
    loop = asyncio.get_running_loop()
    try:
        async with asyncio.timeout(SERVER_SECONDS):
            with await reach(order, target, 1) as server:
                await loop.sock_sendall(server, b"GET / HTTP/1.0\r\n\r\n")
                return bool(await loop.sock_recv(server, CHUNK))
    except (OSError, premises.Refused, asyncio.TimeoutError):
        return False


def reset(client):
    """Has the socket's closing tell the other end so at once."""
    with contextlib.suppress(OSError):
        client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
