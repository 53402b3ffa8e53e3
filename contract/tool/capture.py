#!/usr/bin/python3 -B
# SPDX-License-Identifier: MIT
"""Asks a virtual router in each home for every object, and keeps the replies in contract/fixtures.

    contract/tool/capture.py [--build DIR] [HOME...]            keeps the replies
    contract/tool/capture.py --check [--build DIR] [HOME...]    asks for them, and compares with those that are kept

A reply is kept as it came, byte for byte. They are real and not made anew by contract/make: times and speeds differ. So the
comparison leaves such values out, and the order of devices. It ends with "N passed, N failed"; the status is 77 when no router
can run here.
"""

import argparse
import concurrent.futures
import json
import pathlib
import sys
import time
import urllib.request

sys.dont_write_bytecode = True

import virtual  # noqa: E402
from contract import FOLDER, PROJECT, Contract  # noqa: E402


HOMES = ("family", "flat", "limit", "mesh", "office")
FIXTURES = FOLDER / "fixtures"
VARYING = {"upTime", "uSpeed", "dSpeed", "internetSta", "ping"}
AT_ONCE = 2  # routers: they mostly wait, but a start is work
PATIENCE_SECONDS = 60  # until all sources of a home have told something


def ask(url, request):
    with urllib.request.urlopen(urllib.request.Request(url, json.dumps(request).encode()), timeout=60) as reply:
        return reply.read()


def session(url):
    return json.loads(ask(url, {"action": "login", "info": {"user": "admin", "pwd": "admin"}}))["info"]["sessionid"]


def requests(contract):
    """(name of the fixture, request) of all."""
    yield "scan", {"action": "scan"}
    for name, facts in contract.objects.items():
        if "get" in facts:
            yield name, {"action": "get", name: facts["get"].get("example", {})}


def capture(home, contract, build):
    with virtual.router(build, "--home", home, "--still") as (url, _):
        time.sleep(5)  # the sources of the home have told something by then
        logged_in = {"sessionid": session(url)}
        ask(url, {"action": "get", "wanStatus": {}, **logged_in})  # wakes the speed sampler
        time.sleep(2)
        folder = FIXTURES / home
        folder.mkdir(parents=True, exist_ok=True)
        for name, request in requests(contract):
            (folder / f"{name}.json").write_bytes(ask(url, {**request, **logged_in}))
    return [f"contract/fixtures/{home}: {len(list(folder.iterdir()))} replies"], []


def steady(value, key=""):
    """What of a reply is the same each time: keys in their order, values but the varying ones, whatever the order of devices."""
    if key in VARYING:
        return type(value).__name__
    if isinstance(value, dict):
        return [[name, steady(below, name)] for name, below in value.items()]
    if isinstance(value, list):
        found = [steady(each) for each in value]
        return sorted(found, key=json.dumps) if any(isinstance(each, dict) for each in value) else found
    return value


def same(kept, seen):
    return steady(json.loads(kept)) == steady(json.loads(seen))


def compare(home, contract, build):
    passed, pending = [], dict(requests(contract))
    with virtual.router(build, "--home", home, "--still") as (url, _):
        logged_in = {"sessionid": session(url)}
        deadline = time.monotonic() + PATIENCE_SECONDS
        while pending and time.monotonic() < deadline:
            for name, request in list(pending.items()):
                if same((FIXTURES / home / f"{name}.json").read_bytes(), ask(url, {**request, **logged_in})):
                    passed.append(name)
                    del pending[name]
            time.sleep(0.5)
    return passed, [f"contract/fixtures/{home}/{name}.json" for name in pending]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=PROJECT / "build/release")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("homes", nargs="*", default=HOMES)
    arguments = parser.parse_args()
    work, contract = compare if arguments.check else capture, Contract()
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        done = [pool.submit(work, home, contract, arguments.build) for home in arguments.homes]
    try:
        told = [each.result() for each in done]
    except virtual.NoRouter as error:
        print(f"contract/tool/capture.py: {error}")
        return virtual.CANNOT_RUN_HERE
    passed, failed = (sum(rows, []) for rows in zip(*told))
    if not arguments.check:
        print("\n".join(passed))
        return 0
    for path in failed:
        print(f"FAILED  {path} is not what the home tells now: contract/tool/capture.py keeps it anew")
    print(f"{len(passed)} passed, {len(failed)} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
