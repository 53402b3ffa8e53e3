# SPDX-License-Identifier: MIT
"""A bug of the endpoint, from the journal to a case: it is found in what a request did, copied, and fails until it is mended."""

import json
import os
import pathlib
import tempfile

import router as routers
from copied import run_cases
from requests_told import Reader, deeds
from story import LOGIN, SESSION

RIGHT = "rm /var/app_sessionid"
WRONG = "rm /var/app_sessionix"  # a logout that removes another file, so that the session goes on


def faulty(folder, build):
    """A build folder whose app.cgi has the bug."""
    program = pathlib.Path(build, "app.cgi").read_bytes()
    if program.count(RIGHT.encode()) != 1:
        raise RuntimeError(f"app.cgi has '{RIGHT}' {program.count(RIGHT.encode())} times, not once")
    made = pathlib.Path(folder, "build")
    made.mkdir()
    for entry in os.listdir(build):
        if entry != "app.cgi":
            (made / entry).symlink_to(pathlib.Path(build, entry))
    (made / "app.cgi").write_bytes(program.replace(RIGHT.encode(), WRONG.encode()))
    (made / "app.cgi").chmod(0o755)
    return str(made)


def find(results, way, build):
    with tempfile.TemporaryDirectory(prefix="bug-") as folder:
        pathlib.Path(folder).chmod(0o755)
        bad = faulty(folder, build)
        router = routers.Router(way, bad)
        try:
            if results.check("a router starts with an endpoint that has a bug", router.start() is not None, router.output()):
                seen(results, router, build, bad, pathlib.Path(folder))
        finally:
            router.remove()


def seen(results, router, build, bad, folder):
    session = SESSION.search(router.ask(json.dumps(LOGIN))[2]).group()
    router.ask(json.dumps({"action": "set", "logout": 1, "sessionid": session}))
    text = router.ask(json.dumps({"action": "get", "app": {}, "sessionid": session}))[2]
    results.check("who logs out stays logged in", '"error":\t0' in text, text)
    reader = Reader(router)
    reader.settled()
    logout = next(line["number"] for line in reader.lines("--object", "logout") if "number" in line)
    told = deeds(reader.whole(logout))
    results.check("the journal tells why", any(line.endswith(f"run {WRONG}") and line.startswith("failed=") for line in told), told)
    status, text = router.inside("journal", str(logout), "--as", "case")
    cases = folder / "cases"
    cases.mkdir()
    case = cases / "logout.toml"
    case.write_text(text)
    last, said = run_cases(cases, build, f"{bad}/app.cgi")
    results.check("copied as a case it is what came", status == 0 and last == "1 passed, 0 failed", (text, said))
    case.write_text(text.replace(WRONG, RIGHT))
    last, said = run_cases(cases, build, f"{bad}/app.cgi")
    results.check("with what should have come it fails", last == "0 passed, 1 failed" and f"+unexpected run {WRONG}" in said and f"-run {RIGHT}" in said, said)
    last, said = run_cases(cases, build)
    results.check("and passes once the bug is mended", last == "1 passed, 0 failed", said)
