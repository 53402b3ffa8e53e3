# SPDX-License-Identifier: MIT
"""How the tests ask the control port: as its users do, and, for attacks, byte by byte."""

import http.client
import json
import re
import socket
from typing import NamedTuple

from router import look_until

SECONDS = 60


class Answer(NamedTuple):
    status: int
    headers: dict  # names in small letters
    body: bytes

    def json(self):
        return json.loads(self.body)

    def code(self):
        """Of a refusal."""
        return self.json()["error"]["code"]


class Control:
    """The control port of a running router, by the URL that it printed."""

    def __init__(self, router):
        found = re.search(r"http://127\.0\.0\.1:(\d+)/\?token=(\S+)", router.output())
        self.port = int(found[1])
        self.token = found[2]
        self.origin = f"http://127.0.0.1:{self.port}"

    def ask(self, method, path, body=None, headers=None, token=True):
        """`body`: bytes as they are, or what is sent as JSON."""
        sent = {"Authorization": f"Bearer {self.token}"} if token else {}
        if body is not None and not isinstance(body, bytes):
            body = json.dumps(body).encode()
            sent["Content-Type"] = "application/json"
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=SECONDS)
        try:
            connection.request(method, path, body, {**sent, **(headers or {})})
            reply = connection.getresponse()
            return Answer(reply.status, {name.lower(): value for name, value in reply.getheaders()}, reply.read())
        finally:
            connection.close()

    def get(self, path, **words):
        return self.ask("GET", path, **words)

    def post(self, path, body=None, **words):
        return self.ask("POST", path, {} if body is None else body, **words)

    def settled(self):
        """The last requests of the journal when all are over: who asked has its reply before the program has ended."""
        return look_until(lambda seen: all(line["verdict"] != "under way" for line in seen["requests"]), lambda: self.get("/api/journal?last=100").json())

    def raw(self, data):
        """Sends bytes, and returns what comes until the other end closes or nothing comes for long."""
        with socket.create_connection(("127.0.0.1", self.port), timeout=SECONDS) as connection:
            answer = b""
            try:
                connection.sendall(data)
                while more := connection.recv(65536):
                    answer += more
            except OSError:
                pass
            return answer

    def head(self, *lines, first="GET /api/status HTTP/1.1", host=None, token=True):
        """The bytes of a request."""
        lines = [first, *([f"Host: {host or f'127.0.0.1:{self.port}'}"] if host != "" else []), *lines, "Connection: close"]
        if token:
            lines.append(f"Authorization: Bearer {self.token}")
        return ("\r\n".join(lines) + "\r\n\r\n").encode("latin-1")


def status_of(answer):
    """Of bytes that came; None: no answer."""
    found = re.match(rb"HTTP/1\.[01] (\d+)", answer)
    return int(found[1]) if found else None
