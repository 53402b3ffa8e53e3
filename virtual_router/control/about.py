# SPDX-License-Identifier: MIT
"""What the control port tells of itself."""

import json
import pathlib

from . import route

OPENAPI = pathlib.Path(__file__).with_name("openapi.json")


async def openapi(_call):
    return json.loads(OPENAPI.read_text())


ROUTES = (route.Route("GET", "/api/openapi.json", openapi, "this description", {"type": "object"}),)
