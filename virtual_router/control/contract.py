# SPDX-License-Identifier: MIT
"""The router's protocol as data, and what a request would do, told without asking the router."""

import functools
import json
import pathlib
import sys

from . import route

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "contract"
DOCUMENT = FOLDER / "contract.json"


class Contract:
    """As the dry run takes it."""

    def __init__(self, document):
        self.order = document["order"]
        self.objects = document["objects"]
        self.protocol = document["protocol"]


@functools.cache
def document():
    return json.loads(DOCUMENT.read_text())


@functools.cache
def engine():
    sys.path.insert(1, str(FOLDER / "clients/python/kt7094hzm/dry_run"))  # before the home, which has an engine, too
    from engine import dryrun

    return dryrun


async def show(_call):
    return document()


async def dry_run(call):
    found = engine().document(Contract(document()), call.data)
    # Half a surrogate pair, which a body may have, is no text of a reply.
    return json.loads(json.dumps(found, ensure_ascii=False).encode("utf-8", "replace"))


ENDS = route.an_object(
    {
        "unknown": route.a_list(route.an_object({"key": route.TEXT, "meant": route.or_null("string")}), description="keys that nobody reads"),
        "ends": route.a_list({"type": "object"}, description="how it can end: the last needs nothing of the router, the others name the state that leads to them"),
    }
)
ROUTES = (
    route.Route("GET", "/api/contract", show, "contract/contract.json: objects, keys, limits, meanings, messages", {"type": "object"}),
    route.Route(
        "POST", "/api/dry-run", dry_run, "what a request to the endpoint would do, as script/dry-run tells it; nothing is sent", ENDS,
        request={}, as_it_is=True, example={"action": "set", "app": {"port": 65536}},
    ),
)  # fmt: skip
