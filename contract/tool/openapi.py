# SPDX-License-Identifier: MIT
"""The OpenAPI document: one path, all actions and objects, with examples that are replies of a virtual router."""

import json

import schemas

VERSION = "1.0.0"


def document(contract, project):
    made = schemas.Schemas(contract, ref=lambda name: {"$ref": "#/components/schemas/" + name.removesuffix(".json")})
    components = {}
    for name in made.names():
        schema = dict(made.part(name))
        if "$defs" in schema:
            for key, below in schema.pop("$defs").items():
                components[f"{key}.get.partial"] = below
            schema["else"] = {"properties": {key: {"$ref": f"#/components/schemas/{key}.get.partial"} for key in schema["else"]["properties"]}}
        components[name.removesuffix(".json")] = schema
    requests = {"scan": {"action": "scan"}, "login": {"action": "login", "info": {"user": "admin", "pwd": "admin"}}}
    for name, facts in contract.objects.items():
        for action in ("get", "set"):
            if action in facts:
                requests[f"{action} {name}"] = {"action": action, "sessionid": "Us4fb942caf223377fb611bc9c09d37f94", name: facts[action].get("example", {})}
    replies = {}
    for name in ["scan", *contract.order]:
        fixture = project / f"contract/fixtures/family/{name}.json"
        if fixture.exists():
            replies[name if name == "scan" else f"get {name}"] = json.loads(fixture.read_text())
    example = lambda values: {name.replace(" ", "_"): {"summary": name, "value": value} for name, value in values.items()}  # noqa: E731
    return {
        "openapi": "3.1.0",
        "info": {
            "title": "Router configuration endpoint",
            "version": VERSION,
            "summary": "What an app may send to the router, and what it gets.",
            "description": "One JSON document up, one JSON document down. The HTTP status is 200 whether a request succeeded or not: "
                           "look at \"error\" in the reply. docs/protocol.md tells how to ask.",
        },
        "servers": [{"url": "http://127.0.0.1:8080", "description": "the virtual router of script/server"}],
        "paths": {
            contract.protocol["path"]: {
                "post": {
                    "operationId": "ask",
                    "summary": "Does one action: scan, login, get or set",
                    "requestBody": {
                        "required": True,
                        "content": {"application/json": {"schema": {"$ref": "#/components/schemas/request"}, "examples": example(requests)}},
                    },
                    "responses": {
                        "200": {
                            "description": "the reply, of success and failure alike",
                            "content": {"application/json": {"schema": {"$ref": "#/components/schemas/reply"}, "examples": example(replies)}},
                        },
                        "500": {"description": "the virtual router's web server: the endpoint made no reply, as to a body that is no JSON"},
                    },
                },
            },
        },
        "components": {"schemas": components},
    }
