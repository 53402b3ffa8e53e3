# SPDX-License-Identifier: MIT
"""The pages for a browser, and what they are made of. Each file has its route: no name in a request finds a file."""

import functools
import gzip
import json
import pathlib

from . import route

HERE = pathlib.Path(__file__).parent
CONTRACT = HERE.parents[1] / "contract/openapi.json"

KINDS = {".svg": "image/svg+xml", ".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8"}
# The viewer gives elements their style one by one, and has its pictures in its style sheet.
POLICY = (
    "default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; img-src 'self' data:; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"
)

# The console needs none of that.
STRICT_POLICY = (
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'; require-trusted-types-for 'script'"
)

# path: the file below this folder
CONSOLE = {f"/console/{path.name}": f"console/{path.name}" for path in sorted(HERE.glob("console/*.*"))}
FILES = {
    "/": "console/index.html",
    **CONSOLE,
    "/docs": "pages/docs.html",
    "/docs/control": "pages/docs.html",
    "/pages/docs.js": "pages/docs.js",
    "/pages/docs.css": "pages/docs.css",
    "/vendor/swagger-ui/swagger-ui-bundle.js": "vendor/swagger-ui/swagger-ui-bundle.js.gz",
    "/vendor/swagger-ui/swagger-ui.css": "vendor/swagger-ui/swagger-ui.css",
}


async def page(name, _call):
    path, content = HERE / name, (HERE / name).read_bytes()
    if path.suffix == ".gz":  # kept so for its size
        path, content = path.with_suffix(""), gzip.decompress(content)
    return route.Page(content, KINDS[path.suffix], STRICT_POLICY if path.parent.name == "console" else POLICY)


async def contract(_call):
    """The router's protocol, as it can be tried from a page of this port."""
    about = json.loads(CONTRACT.read_text())
    about["servers"] = [{"url": "/api/phones/1", "description": "this router, as to the phone above"}]
    return about


ROUTES = (
    *(route.Route("GET", path, functools.partial(page, name), "a page, or a part of one", {}, kind=route.PAGE) for path, name in FILES.items()),
    route.Route("GET", "/docs/contract.json", contract, "contract/openapi.json, to be tried from a page of this port", {"type": "object"}),
)
