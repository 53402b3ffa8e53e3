# SPDX-License-Identifier: MIT
"""Asking the router as a phone of its LAN does, from a page of this port: the router's own port is another origin.

Of what the router replies only status and body are handed on, and the body as text or JSON that no browser takes for a page.
"""

import asyncio
import http.client
import io
import itertools

import ports
import premises

from . import route

MOST_REPLY_BYTES = 8 << 20
REPLY_SECONDS = 60
FIRST_PORT = 40000  # of the pretended client, where the network is not the kernel's

client_ports = itertools.count()


class _Data:
    """What http.client reads a reply from."""

    def __init__(self, data):
        self.data = data

    def makefile(self, _mode):
        return io.BytesIO(self.data)


def find_port(keeper, number):
    name = "phone" if number == "1" else f"phone {number}"
    for port in keeper.ports:
        if port.name == name:
            return port
    raise route.Refused(404, "phone", f"there is no phone {number}")


async def exchange(keeper, number, data):
    """Sends bytes from a phone to the router. Returns all that comes back."""
    port = find_port(keeper, number)
    target = port.find_target() if port.open else None
    if target is None:
        raise route.Refused(409, "away", "the router does not answer this phone: it is away, or its LAN has no place for it")
    loop = asyncio.get_running_loop()
    answer = bytearray()
    try:
        async with asyncio.timeout(REPLY_SECONDS):
            with await ports.reach(keeper.order, target, FIRST_PORT + next(client_ports) % 20000) as server:
                await loop.sock_sendall(server, data)
                while more := await loop.sock_recv(server, 65536):
                    answer += more
                    if len(answer) > MOST_REPLY_BYTES:
                        raise route.Refused(502, "router", "the router's reply has no end")
    except (OSError, premises.Refused, asyncio.TimeoutError):
        raise route.Refused(502, "router", "the router's web server has not answered") from None
    return bytes(answer)


async def ask_router(keeper, number, body):
    """What the endpoint replies to a phone: status and body."""
    head = f"POST /app/app.cgi HTTP/1.1\r\nHost: router\r\nContent-Type: application/json\r\nContent-Length: {len(body)}\r\nConnection: close\r\n\r\n"
    reply = http.client.HTTPResponse(_Data(await exchange(keeper, number, head.encode() + body)))
    try:
        reply.begin()
        return reply.status, reply.read()
    except (http.client.HTTPException, OSError, ValueError):
        raise route.Refused(502, "router", "the router's reply is none of HTTP") from None


async def ask(call):
    status, body = await ask_router(call.keeper, call.path["number"], call.data)
    return route.Page(body, "application/json" if status == 200 else "text/plain; charset=utf-8", None, status)


ROUTES = (
    route.Route(
        "POST", "/api/phones/{number}/app/app.cgi", ask, "ask the router as a phone does: the body is handed to the endpoint as it is, and so is its reply",
        {}, request={}, refusals={404: "there is no such phone", 409: "the router is away", 502: "the router's web server has not answered"},
        as_it_is=True, kind=route.PAGE, example={"action": "scan"},
    ),
)  # fmt: skip
