# SPDX-License-Identifier: MIT
"""Who may ask a port of the PC: programs of the PC and pages that are its own. A page from elsewhere may not, though the browser
that shows it runs on this PC: it gives itself away by its origin, or by a host name that it had led here."""

import re
from typing import NamedTuple

from printable import printable

MOST_HEAD_BYTES = 64 << 10

_TOKEN = rb"[!#$%&'*+.^_`|~0-9A-Za-z-]+"
_REQUEST_LINE = re.compile(rb"(" + _TOKEN + rb") (\S+) HTTP/1\.([01])")
_HEADER = re.compile(rb"(" + _TOKEN + rb"):[ \t]*(.*?)[ \t]*", re.DOTALL)
_ABSOLUTE = re.compile(rb"(?i)https?://([^/?#]*)(.*)", re.DOTALL)
# About this connection only. None is passed on: the web server gets one request by a connection, and speaks nothing else on it.
_OF_CONNECTION = {b"connection", b"keep-alive", b"proxy-connection", b"upgrade", b"http2-settings", b"te"}
# A browser sends the cookies of one of this PC's ports to all; the one that opens the control port is not for a router.
_NOT_PASSED = re.compile(rb"control-[0-9]+=[^;]*(?:;[ \t]*|$)")
# Of a reply, what a browser would keep: cookies are common to all ports of this PC, and whatever answers at this one another day
# would be covered by a page of the router's that was kept.
_NOT_KEPT = {b"set-cookie", b"set-cookie2", b"clear-site-data", b"cache-control", b"expires", b"alt-svc"}
_KEEP_NOTHING = b"Cache-Control: no-store\r\n"
# As browsers find them: they take more for the end of a line, and of the head, than HTTP does.
_LINE = re.compile(rb"[^\r\n]*(?:\r\n|\r|\n|$)")
_END_OF_HEAD = re.compile(rb"\n\r?\n")
_STATUS_LINE = re.compile(rb"HTTP/1\.[01] ([1-5])\d\d(?!\d)")
# Which the keeper alone tells the web server. That makes variables of names, and other characters in them "_".
OF_KEEPER = b"X-Keeper-"
_UNLIKE_IN_VARIABLES = re.compile(rb"[^a-z0-9]")
_SHOWN_CHARACTERS = 80


class Refusal(Exception):
    """A request is not let in. `status` is "NUMBER REASON"; the text is told to whoever asked."""

    def __init__(self, status, text):
        super().__init__(text)
        self.status = status


class Request(NamedTuple):
    method: str
    target: str
    origin: bytes  # of another's page, which is allowed; else empty
    head: bytes  # as the web server gets it
    length: int | None  # of the body; None: as the web server finds it
    preflight: bool
    wanted_headers: bytes


def shown(value):
    return printable(value[:_SHOWN_CHARACTERS])


def is_of_keeper(lower):
    return _UNLIKE_IN_VARIABLES.sub(b"-", lower).startswith(OF_KEEPER.lower())


class Gate:
    def __init__(self, port, hosts=(), origins=()):
        names = ("127.0.0.1", "localhost")
        self.hosts = {f"{name}:{port}".encode() for name in names}
        if port == 80:
            self.hosts |= {name.encode() for name in names}
        self.own_origins = {b"http://" + host for host in self.hosts}
        self.answers_to = " or ".join(f"{name}:{port}" for name in names)
        for host in hosts:
            self.hosts |= {host.lower().encode(), f"{host.lower()}:{port}".encode()}
        self.origins = {origin.rstrip("/").lower().encode() for origin in origins}

    def admit(self, head):
        """Reads the head of a request, which ends with an empty line. Raises Refusal."""
        first, *lines = head.removesuffix(b"\r\n\r\n").split(b"\r\n")
        match = _REQUEST_LINE.fullmatch(first)
        if not match:
            raise Refusal("400 Bad Request", "This is no request of HTTP/1.1.")
        method, target, _ = match.groups()
        headers = []
        for line in lines:
            header = _HEADER.fullmatch(line)
            if not header or b"\n" in line or b"\r" in line or b"\0" in line:
                raise Refusal("400 Bad Request", "A header line is none.")
            headers.append((header[1].lower(), header[1], header[2]))

        def values(name):
            return [value for lower, _, value in headers if lower == name]

        self.check_host(values(b"host"), target)
        absolute = _ABSOLUTE.fullmatch(target)
        if absolute:
            target = absolute[2] if absolute[2].startswith(b"/") else b"/" + absolute[2]
        origin = self.check_origin(values(b"origin"), values(b"sec-fetch-site"))
        if values(b"service-worker"):
            raise Refusal("403 Forbidden", "A page of this router leaves no program behind in the browser.")
        lengths = set(values(b"content-length"))
        if len(lengths) > 1 or (lengths and values(b"transfer-encoding")) or any(not length.isdigit() for length in lengths):
            raise Refusal("400 Bad Request", "The length of the body is not clear.")
        length = None if values(b"transfer-encoding") else int(lengths.pop()) if lengths else 0
        passed = b"".join(
            name + b": " + (_NOT_PASSED.sub(b"", value) if lower == b"cookie" else value) + b"\r\n"
            for lower, name, value in headers
            if lower not in _OF_CONNECTION and not is_of_keeper(lower)
        )
        wanted = values(b"access-control-request-method")
        return Request(
            method.decode(),
            shown(target),
            origin,
            method + b" " + target + b" HTTP/1." + match[3] + b"\r\n" + passed + b"Connection: close\r\n\r\n",
            length,
            bool(origin and wanted and method == b"OPTIONS"),
            b", ".join(values(b"access-control-request-headers")),
        )

    def check_host(self, hosts, target):
        absolute = _ABSOLUTE.fullmatch(target)
        if absolute:
            hosts = [*hosts, absolute[1]]
        elif not target.startswith(b"/") and target != b"*":
            raise Refusal("400 Bad Request", "This is no target of a request to a router.")
        if not hosts or (absolute and len(hosts) == 1) or len({host.lower() for host in hosts}) > 1 or len(hosts) > 1 + bool(absolute):
            raise Refusal("403 Forbidden", f"A request names one host in its header \"Host\": {self.answers_to}.")
        if hosts[0].lower() not in self.hosts:
            name = shown(hosts[0])
            raise Refusal(
                "403 Forbidden",
                f'The router answers to {self.answers_to}, not to "{name}". "script/server --allow-host NAME" lets it answer to another name.',
            )

    def check_origin(self, origins, sites):
        """Returns the origin of another's page that is allowed, or nothing."""
        if len(origins) > 1:
            raise Refusal("403 Forbidden", 'A request has one header "Origin".')
        if origins:
            origin = origins[0].lower()
            if origin in self.own_origins:
                return b""
            if origin in self.origins:
                return origins[0]
            raise Refusal(
                "403 Forbidden",
                f'A page of "{shown(origins[0])}" may not ask this router. "script/server --allow-origin URL" lets pages of that URL do so.',
            )
        # A picture or a link of a page tells no origin, but a browser says that it comes from elsewhere.
        if any(site.lower() in (b"cross-site", b"same-site") for site in sites):
            raise Refusal("403 Forbidden", 'A page of another site may not ask this router. "script/server --allow-origin URL" lets pages of that URL do so.')
        return b""

    def preflight_answer(self, request):
        return (
            b"HTTP/1.1 204 No Content\r\nAccess-Control-Allow-Methods: GET, POST, OPTIONS\r\n"
            + (b"Access-Control-Allow-Headers: " + request.wanted_headers + b"\r\n" if request.wanted_headers else b"")
            + b"Access-Control-Max-Age: 600\r\n"
            + self.permission(request)
            + b"Connection: close\r\n\r\n"
        )

    def permission(self, request):
        """The header lines by which a browser lets the page read the reply."""
        return b"Access-Control-Allow-Origin: " + request.origin + b"\r\nVary: Origin\r\n" if request.origin else b""


class Unlike(Exception):
    """What comes is no reply of HTTP."""


class ReplyHead:
    """Passes a reply on without what a browser would keep of it beyond the reply. `permission`: the header lines that it gets."""

    def __init__(self, permission):
        self.lines = permission + _KEEP_NOTHING
        self.held = b""
        self.over = False

    def make_of(self, data):
        """What is sent in the place of the next bytes. Raises Unlike."""
        if self.over:
            return data
        self.held += data
        sent = b""
        while not self.over and (end := _END_OF_HEAD.search(self.held)):
            head, self.held = self.held[: end.end()], self.held[end.end() :]
            sent += self.fit(head)
        if self.over:
            sent, self.held = sent + self.held, b""
        elif len(self.held) > MOST_HEAD_BYTES:
            raise Unlike
        return sent

    def end(self):
        """What is sent when no more comes. Browsers take a head without its end for one."""
        return self.fit(self.held) if self.held else b""

    def fit(self, head):
        status = _STATUS_LINE.match(head)
        if not status:
            raise Unlike
        self.over = status[1] != b"1"  # else the reply proper is still to come
        first, *lines = _LINE.findall(head)
        if not first.endswith((b"\r", b"\n")):
            first += b"\r\n"
        kept = [first, self.lines] if self.over else [first]
        dropped = False
        for line in lines:
            if not (dropped and line[:1] in (b" ", b"\t")):  # such a line goes on with the one before
                dropped = line.partition(b":")[0].strip().lower() in _NOT_KEPT
            if not dropped:
                kept.append(line)
        return b"".join(kept)
