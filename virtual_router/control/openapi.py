#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Makes virtual_router/control/openapi.json from the table of routes.

usage: openapi.py           writes the file
       openapi.py --check   says whether the file is the one that would be made; exit status 1: it is not
"""

import json
import pathlib
import sys

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
sys.path[:1] = [str(HERE.parent / "keeper"), str(HERE.parent)]
FILE = HERE / "openapi.json"

from control import route, routes  # noqa: E402

DESCRIBED = [found for found in routes.ROUTES if found.path.startswith("/api/")]  # the rest are pages
ERROR = route.an_object({"error": route.an_object({"code": route.TEXT, "message": route.TEXT})})
KINDS = {route.JSON: "application/json", route.PAGE: "application/json", route.EVENTS: "text/event-stream", route.FILE: "application/octet-stream"}
REFUSALS = {
    "400": "what was sent makes no sense",
    "401": "no token, or a wrong one",
    "403": "another host or another page's origin",
    "409": "the router is not in a state for that",
    "413": "too long",
}


def content(kind, schema):
    return {"content": {kind: {"schema": schema}}}


def replies(found):
    kind = KINDS[found.kind]
    schema = {"type": "string", "contentMediaType": "application/octet-stream"} if found.kind == route.FILE else found.reply
    described = {"200": {"description": "done", **content(kind, schema)}}
    for status, when in sorted({**REFUSALS, **{str(status): when for status, when in found.refusals.items()}}.items()):
        described[status] = {"description": when, **content("application/json", {"$ref": "#/components/schemas/error"})}
    return described


def operation(found):
    about = {"summary": found.summary, "operationId": name_of(found), "tags": [found.path.split("/")[2].split(".")[0]]}
    places = [{"name": name, "in": "path", "required": True, "schema": route.TEXT} for name in found.names()]
    places += [{"name": name, "in": "query", "required": False, "schema": schema} for name, schema in found.query.items()]
    if places:
        about["parameters"] = places
    if found.takes_file:
        about["requestBody"] = {"required": True, **content("application/octet-stream", {})}
    elif found.request is not None:
        body = content("application/json", found.request)
        if found.example is not None:
            body["content"]["application/json"]["example"] = found.example
        about["requestBody"] = {"required": True, **body}
    about["responses"] = replies(found)
    return about


def name_of(found):
    words = [found.method.lower(), *(part.strip("{}").split(".")[0] for part in found.path.split("/")[2:])]
    return "-".join(words)


def description():
    paths = {}
    for found in DESCRIBED:
        paths.setdefault(found.path, {})[found.method.lower()] = operation(found)
    return {
        "openapi": "3.1.0",
        "info": {
            "title": "Virtual router: control port",
            "version": "1",
            "description": "What is seen of a running virtual router, and done to it. docs/control.md tells more.",
            "license": {"name": "MIT", "identifier": "MIT"},
        },
        "servers": [{"url": "/", "description": "where script/server says"}],
        "security": [{"token": []}, {"cookie": []}],
        "paths": paths,
        "components": {
            "schemas": {"error": ERROR},
            "securitySchemes": {
                "token": {"type": "http", "scheme": "bearer", "description": "the token of the URL that script/server prints"},
                "cookie": {"type": "apiKey", "in": "cookie", "name": "control-PORT", "description": "set by the URL that script/server prints"},
            },
        },
    }


def main():
    made = json.dumps(description(), indent=2) + "\n"
    if sys.argv[1:] == ["--check"]:
        if not FILE.exists() or FILE.read_text() != made:
            sys.exit(f"{FILE.relative_to(HERE.parents[1])} is not what the routes make; make it anew: virtual_router/control/openapi.py")
        print(f"{len(DESCRIBED)} routes are described")
    elif sys.argv[1:]:
        sys.exit(__doc__)
    else:
        FILE.write_text(made)


if __name__ == "__main__":
    main()
