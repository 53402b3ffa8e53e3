# SPDX-License-Identifier: MIT
"""The control port's HTTP server: lets in who may come in, finds the route, and gives its answer a form.

Tornado speaks HTTP: it runs on the keeper's event loop, bounds heads, bodies and the time that each may take by itself, and is one
package without others behind it.
"""

import asyncio
import functools
import json
import re
import socket
import traceback

import gate as gates
import ports
import premises
import tornado.httpserver
import tornado.iostream
import tornado.web
from printable import printable

from . import admission, route, routes

MOST_CONNECTIONS = 128
MOST_HEAD_BYTES = 32 << 10
HEAD_SECONDS = 10  # also how long a connection may be idle
BODY_SECONDS = 10
BEAT_SECONDS = 15  # between two signs of life to whoever follows events
SHOWN_CHARACTERS = 200

SAFE_METHODS = ("GET", "HEAD")
HEADERS = {
    "Cache-Control": "no-store",
    "Content-Security-Policy": "default-src 'none'; frame-ancestors 'none'",
    "Cross-Origin-Opener-Policy": "same-origin",
    "Cross-Origin-Resource-Policy": "same-origin",
    "Referrer-Policy": "no-referrer",
    "X-Content-Type-Options": "nosniff",
    "X-Frame-Options": "DENY",
}


class HttpServer(tornado.httpserver.HTTPServer):
    """Takes so many connections at a time."""

    connections = 0

    def handle_stream(self, stream, address):
        if self.connections >= MOST_CONNECTIONS:
            stream.close()
            return
        self.connections += 1
        super().handle_stream(stream, address)

    def on_close(self, server_conn):
        self.connections -= 1
        super().on_close(server_conn)


class Server:
    """Raises ports.PortTaken where the port cannot be had. `number` 0: any that is free."""

    def __init__(self, keeper, number, hosts=()):
        self.keeper = keeper
        self.listener = listen(number)
        self.number = self.listener.getsockname()[1]
        self.url = f"http://127.0.0.1:{self.number}"
        self.token = admission.Token(self.number)
        self.gate = gates.Gate(self.number, hosts)
        self.routes = [(found.pattern(), found) for found in routes.ROUTES]
        self.http = None

    def start(self):
        application = tornado.web.Application([(r".*", Handler, {"server": self})], log_function=lambda _: None)
        limits = {"max_header_size": MOST_HEAD_BYTES, "max_body_size": route.MOST_BODY_BYTES, "max_buffer_size": 1 << 26}
        times = {"idle_connection_timeout": HEAD_SECONDS, "body_timeout": BODY_SECONDS}
        self.http = HttpServer(application, **limits, **times)
        self.http.add_socket(self.listener)
        self.token.keep(self.keeper.state.path, self.url)

    def printed_url(self):
        return f"{self.url}/?token={self.token.text}"

    async def close(self):
        if self.http is None:
            self.listener.close()
            return
        self.http.stop()
        await self.http.close_all_connections()

    def find(self, method, path):
        """The route, and what stands for the parts of its path that vary."""
        allowed = []
        for pattern, found in self.routes:
            match = pattern.fullmatch(path)
            if match and (found.method == method or (found.method, method) == ("GET", "HEAD")):
                return found, match.groupdict()
            if match:
                allowed.append(found.method)
        if allowed:
            raise route.Refused(405, "method", f"{path} takes {' and '.join(sorted(allowed))}")
        raise route.Refused(404, "path", f"there is nothing at {path[:SHOWN_CHARACTERS]}; GET /api/openapi.json tells what there is")


def listen(number):
    listener = socket.socket()
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.setblocking(False)
    try:
        listener.bind(("127.0.0.1", number))
        listener.listen(MOST_CONNECTIONS)
    except OSError as error:
        listener.close()
        raise ports.PortTaken(f"Port {number} of 127.0.0.1 cannot be used: {error.strerror}") from None
    return listener


def latin(texts):
    return [text.encode("latin-1", "replace") for text in texts]


@tornado.web.stream_request_body
class Handler(tornado.web.RequestHandler):
    """Of one request. Who asks is looked at before the body is read."""

    SUPPORTED_METHODS = ("GET", "HEAD", "POST", "PUT", "DELETE", "OPTIONS", "PATCH")

    def initialize(self, server):
        self.server = server
        self.chunks = []

    def set_default_headers(self):
        self.clear_header("Server")
        for name, value in HEADERS.items():
            self.set_header(name, value)

    # --- before the body ---

    def prepare(self):
        try:
            self.let_in()
            if self._finished:
                return
            self.found, self.parts = self.server.find(self.request.method, self.request.path)
            self.check_body()
        except route.Refused as refused:
            self.refuse(refused)

    def let_in(self):
        headers = self.request.headers
        try:
            self.server.gate.check_host(latin(headers.get_list("Host")), self.request.uri.encode("latin-1", "replace"))
            self.server.gate.check_origin(latin(headers.get_list("Origin")), latin(headers.get_list("Sec-Fetch-Site")))
        except gates.Refusal as refusal:
            number, _, _ = refusal.status.partition(" ")
            raise route.Refused(int(number), "stranger", str(refusal)) from None
        given = self.get_query_arguments("token", strip=False)
        if given and self.request.method in SAFE_METHODS and not self.request.path.startswith("/api/"):
            self.exchange(given)
            return
        name = self.server.token.cookie_name
        cookie = self.request.cookies[name].value if name in self.request.cookies else None
        if not self.server.token.known_to(headers.get("Authorization"), cookie):
            raise route.Refused(401, "token", "The control port needs its token: open the URL that script/server printed, or send the header \"Authorization: Bearer TOKEN\".")

    def exchange(self, given):
        """Has a browser keep the token as a cookie, and forget the URL that has it."""
        if len(given) != 1 or not self.server.token.is_it(given[0]):
            raise route.Refused(401, "token", "This is not the token of the router that runs now: open the URL that script/server printed last.")
        self.set_header("Set-Cookie", self.server.token.cookie())
        # A path that begins with two slashes would be another host.
        self.redirect("/" + self.request.path.lstrip("/\\"), status=303)

    def check_body(self):
        headers = self.request.headers
        has_body = self.found.request is not None or self.found.takes_file
        if "Transfer-Encoding" in headers:
            raise route.Refused(411, "length", "A body's length must be known: Content-Length.")
        length = headers.get("Content-Length", "0")
        if not re.fullmatch(r"[0-9]{1,15}", length):
            raise route.Refused(400, "length", "Content-Length is no number.")
        most = self.found.most_body if has_body else 0
        if int(length) > most:
            raise route.Refused(413, "length", f"The body may have {most} bytes.")
        # No form of a page elsewhere can send that.
        wanted = "application/octet-stream" if self.found.takes_file else "application/json"
        kind = headers.get("Content-Type", "").partition(";")[0].strip().lower()
        if has_body and int(length) > 0 and kind != wanted:
            raise route.Refused(415, "type", f"The body's Content-Type must be {wanted}.")
        self.request.connection.set_max_body_size(most)

    def data_received(self, chunk):
        self.chunks.append(chunk)

    # --- behind it ---

    async def carry_out(self):
        try:
            call = self.call()
            if self.found.kind == route.EVENTS:
                await self.send_events(self.found.handler(call))
            elif self.found.kind == route.FILE:
                self.send_file(await self.found.handler(call))
            elif self.found.kind == route.PAGE:
                self.send_page(await self.found.handler(call))
            else:
                self.send(200, await self.found.handler(call))
        except route.Refused as refused:
            self.refuse(refused)
        except premises.Refused as refused:
            self.refuse(route.Refused(409, "router", str(refused)))
        except asyncio.CancelledError:
            self._finished = True  # whoever asked has hung up

    get = head = post = put = delete = carry_out

    def call(self):
        data = b"".join(self.chunks)
        body = None
        if self.found.request is not None and not self.found.as_it_is:
            try:
                body = json.loads(data or b"{}")
            except (ValueError, RecursionError):
                raise route.Refused(400, "body", "The body is no JSON.") from None
            check(body, self.found.request, "the body")
        return route.Call(self.server.keeper, self.parts, self.query(), body, data)

    def query(self):
        values = {}
        for name, given in self.request.query_arguments.items():
            schema = self.found.query.get(name)
            if schema is None or len(given) != 1:
                raise route.Refused(400, "query", f"{printable(name.encode())[:SHOWN_CHARACTERS]}: this takes {', '.join(self.found.query) or 'no words'}, each once")
            values[name] = check(of_query(given[0].decode("utf-8", "replace"), schema), schema, name)
        return values

    def send(self, status, reply):
        self.set_status(status)
        self.set_header("Content-Type", "application/json")
        self.finish(json.dumps(reply, ensure_ascii=False, separators=(",", ":")) + "\n")

    def refuse(self, refused):
        self.server.keeper.say(f"control: {refused.status}: {self.request.method} {printable(self.request.path.encode())[:SHOWN_CHARACTERS]}: {refused}")
        if refused.status == 401:
            self.set_header("WWW-Authenticate", "Bearer")
        self.send(refused.status, {"error": {"code": refused.code, "message": str(refused)}})

    def send_file(self, file):
        self.set_header("Content-Type", file.kind)
        self.set_header("Content-Disposition", f'attachment; filename="{file.name}"')
        self.finish(file.content)

    def send_page(self, page):
        self.set_status(page.status)
        self.set_header("Content-Type", page.kind)
        if page.policy:
            self.set_header("Content-Security-Policy", page.policy)
        self.finish(page.content)

    async def send_events(self, events):
        """Sends what comes until the other end hangs up."""
        self.set_header("Content-Type", "text/event-stream; charset=utf-8")
        gone = asyncio.get_running_loop().create_future()
        self.on_connection_close = lambda: gone.done() or gone.set_result(None)
        coming = asyncio.ensure_future(anext(events))  # whoever has the head misses nothing
        try:
            await self.flush()
            while not gone.done():
                coming = coming or asyncio.ensure_future(anext(events))
                await asyncio.wait([coming, gone], timeout=BEAT_SECONDS, return_when=asyncio.FIRST_COMPLETED)
                if coming.done():
                    name, data = coming.result()
                    coming = None
                    self.write(f"event: {name}\ndata: {json.dumps(data, ensure_ascii=False, separators=(',', ':'))}\n\n")
                elif not gone.done():
                    self.write(": still here\n\n")
                await self.flush()
        except (StopAsyncIteration, tornado.iostream.StreamClosedError):
            pass
        except asyncio.CancelledError:
            self._finished = True  # the router ends, and nobody waits for more
        finally:
            if coming:
                coming.cancel()
                await asyncio.wait([coming])
            await events.aclose()

    # --- what went wrong ---

    def write_error(self, status_code, exc_info=None, **_words):
        """What Tornado itself refuses, and our own faults."""
        self.send(status_code, {"error": {"code": "http" if status_code < 500 else "fault", "message": self._reason}})

    def log_exception(self, kind, value, trace):
        if not isinstance(value, (tornado.web.HTTPError, tornado.iostream.StreamClosedError)):
            for line in "".join(traceback.format_exception(kind, value, trace)).splitlines():
                self.server.keeper.say(f"control: {printable(line.encode())}")


@functools.cache
def validator(text):
    import jsonschema  # takes its time, and most who start a router never send a body

    return jsonschema.Draft202012Validator(json.loads(text))


def check(value, schema, what):
    """Returns the value. Raises Refused where it is not what the schema says."""
    for error in validator(json.dumps(schema)).iter_errors(value):
        place = "".join(f"/{part}" for part in error.absolute_path)
        raise route.Refused(400, "body", f"{what}{' at ' + place if place else ''}: {error.message[:SHOWN_CHARACTERS]}")
    return value


def of_query(text, schema):
    """A word of the query as the type that the schema says, where it is one."""
    if schema.get("type") == "integer" and re.fullmatch(r"-?\d{1,15}", text):
        return int(text)
    if schema.get("type") == "boolean":
        return {"true": True, "false": False, "": True}.get(text, text)
    return text
