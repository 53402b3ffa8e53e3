# SPDX-License-Identifier: MIT
"""Asking the router as a phone of its LAN does, from a page of this port: the router's own port is another origin.

Of what the router replies only status and body are handed on, and the body as text or JSON that no browser takes for a page.
"""

import asyncio
import http.client
import io

from . import route

MOST_REPLY_BYTES = 8 << 20
REPLY_SECONDS = 60
HEAD = "POST /app/app.cgi HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nContent-Type: application/json\r\nContent-Length: {}\r\nConnection: close\r\n\r\n"


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
    """Sends bytes to the PC's port of a phone, as a program of the PC does. Returns all that comes back."""
    port = find_port(keeper, number)
    if not port.open:
        raise route.Refused(409, "away", "the router is away: nobody answers at this phone's port")
    answer = bytearray()
    writer = None
    try:
        async with asyncio.timeout(REPLY_SECONDS):
            reader, writer = await asyncio.open_connection("127.0.0.1", port.number)
            writer.write(HEAD.format(port.number, len(data)).encode() + data)
            while more := await reader.read(65536):
                answer += more
                if len(answer) > MOST_REPLY_BYTES:
                    raise route.Refused(502, "router", "the router's reply has no end")
    except (OSError, asyncio.TimeoutError):
        raise route.Refused(502, "router", "the router has not answered") from None
    finally:
        if writer:
            writer.close()
    return bytes(answer)


async def ask_router(keeper, number, body):
    """What the endpoint replies to a phone: status and body."""
    reply = http.client.HTTPResponse(_Data(await exchange(keeper, number, body)))
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
        {}, request={}, refusals={404: "there is no such phone", 409: "the router is away", 502: "the router has not answered"},
        as_it_is=True, kind=route.PAGE, example={"action": "scan"},
    ),
)  # fmt: skip
