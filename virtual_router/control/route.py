# SPDX-License-Identifier: MIT
"""What a module needs to answer at the control port: the form of a route, of a call, of a refusal."""

import re
from typing import Callable, NamedTuple

KIBIBYTE = 1 << 10
MOST_BODY_BYTES = 256 * KIBIBYTE

JSON = "json"  # the handler returns what becomes the reply
EVENTS = "events"  # the handler is an asynchronous generator: what it yields are the events, as (name, data)
FILE = "file"  # the handler returns a File
PAGE = "page"  # the handler returns a Page

_IN_BRACES = re.compile(r"\{(\w+)\}")
_WORD = r"(?P<\1>[A-Za-z0-9._:@-]{1,128})"


class Refused(Exception):
    """A call is not carried out. `status` is HTTP's; `code` a word for programs, the text for people."""

    def __init__(self, status, code, text):
        super().__init__(text)
        self.status = status
        self.code = code


class File(NamedTuple):
    name: str
    kind: str  # such as "application/zip"
    content: bytes


class Page(NamedTuple):
    content: bytes
    kind: str
    policy: str | None = None  # Content-Security-Policy; None: nothing is loaded or run
    status: int = 200


class Call(NamedTuple):
    keeper: object
    path: dict  # what stands for the {names} of the route's path
    query: dict  # name -> value, of the type that the route's table says; those that are not given are missing
    body: object  # as the route's schema asks for it; None: it asks for none
    data: bytes = b""  # the body as it came


class Route(NamedTuple):
    """`handler` is called with a Call. Schemas are JSON Schema 2020-12."""

    method: str
    path: str  # such as "/api/home/{verb}"
    handler: Callable
    summary: str
    reply: dict  # schema of the reply; of one event's data where the reply are events
    request: dict | None = None  # schema of the body; None: there is no body
    query: dict = {}  # name -> schema of a whole number, a truth value or a text
    refusals: dict = {}  # status -> when, beside those that each route has
    kind: str = JSON
    takes_file: bool = False  # the body is a file, no JSON
    as_it_is: bool = False  # the body is said to be JSON, and not looked at
    most_body: int = MOST_BODY_BYTES
    example: object = None  # a request

    def pattern(self):
        return re.compile(_IN_BRACES.sub(_WORD, self.path))

    def names(self):
        """Of the path's parts that vary."""
        return _IN_BRACES.findall(self.path)


def an_object(properties, optional=(), **more):
    """The schema of an object with exactly these keys."""
    required = [name for name in properties if name not in optional]
    return {"type": "object", "properties": properties, "required": required, "additionalProperties": False, **more}


def a_list(of, **more):
    return {"type": "array", "items": of, **more}


def or_null(kind, **more):
    return {"type": [kind, "null"], **more}


TEXT = {"type": "string"}
NUMBER = {"type": "number"}
WHOLE = {"type": "integer"}
TRUTH = {"type": "boolean"}
WORDS = an_object({"words": a_list({"type": "string", "maxLength": 4096}, maxItems=64)}, optional=("words",))
