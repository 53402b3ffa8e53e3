# SPDX-License-Identifier: MIT
"""The way to the control port for programs of the router's owner. It finds port and token in the state folder."""

import http.client
import json
import pathlib
import urllib.parse

CONTROL_FILE = "control.json"


class Failed(Exception):
    """The answer is a refusal, or there is none; the text is for people. `code` is the refusal's word, or None."""

    def __init__(self, text, code=None):
        super().__init__(text)
        self.code = code


class Control:
    """The control port of the router that runs on this state folder. `seconds`: how long an answer may take."""

    def __init__(self, folder, seconds=120):
        self.seconds = seconds
        try:
            about = json.loads(pathlib.Path(folder, CONTROL_FILE).read_text())
        except PermissionError:
            raise Failed(f"the router on the state folder {folder} is another user's") from None
        except (OSError, ValueError):
            raise Failed(f"no router runs on the state folder {folder}; script/server starts one") from None
        self.url = about["url"]
        self.token = about["token"]

    def printed_url(self):
        return f"{self.url}/?token={self.token}"

    def open(self, method, path, body=None, kind="application/json", **query):
        """Returns the connection and the reply, whose body is still to be read. `body`: bytes, or what is sent as JSON."""
        parts = urllib.parse.urlsplit(self.url)
        connection = http.client.HTTPConnection(parts.hostname, parts.port, timeout=self.seconds)
        headers = {"Authorization": f"Bearer {self.token}"}
        if body is not None:
            headers["Content-Type"] = kind
            body = body if isinstance(body, bytes) else json.dumps(body).encode()
        if query:
            path += "?" + urllib.parse.urlencode(query)
        try:
            connection.request(method, path, body, headers)
            reply = connection.getresponse()
        except OSError as error:
            connection.close()
            raise Failed(f"the control port does not answer: {error}") from None
        if reply.status >= 300:
            text = reply.read()
            connection.close()
            try:
                error = json.loads(text)["error"]
                raise Failed(error["message"], error["code"])
            except (ValueError, KeyError, TypeError):
                raise Failed(f"status {reply.status}: {text[:200].decode(errors='replace')}") from None
        return connection, reply

    def ask(self, method, path, body=None, kind="application/json", **query):
        """Returns what the reply says, or the bytes of a reply that is a file."""
        connection, reply = self.open(method, path, body, kind, **query)
        try:
            data = reply.read()
        except (OSError, http.client.HTTPException) as error:
            raise Failed(f"the control port does not answer: {error}") from None
        finally:
            connection.close()
        return json.loads(data) if reply.headers.get_content_type() == "application/json" else data

    def follow(self, path, **query):
        """Yields (name, data) of each event, until the router ends."""
        connection, reply = self.open("GET", path, **query)
        name, data = "message", []
        try:
            while line := reply.readline():
                field, _, value = line.decode().rstrip("\r\n").partition(": ")
                if field == "event":
                    name = value
                elif field == "data":
                    data.append(value)
                elif not field and data:
                    yield name, json.loads("\n".join(data))
                    name, data = "message", []
        finally:
            connection.close()
