#!/usr/bin/python3 -B
# SPDX-License-Identifier: MIT
"""Asks a virtual router in each home for every object, and keeps the replies in contract/fixtures.

    contract/tool/capture.py [--build DIR] [HOME...]

A reply is kept as it came, byte for byte. They are real and not made anew by contract/make: times and speeds differ.
"""

import argparse
import json
import pathlib
import sys
import time
import urllib.request

sys.dont_write_bytecode = True

import virtual  # noqa: E402
from contract import FOLDER, PROJECT, Contract  # noqa: E402


HOMES = ("family", "flat", "limit", "mesh", "office")


def ask(url, request):
    with urllib.request.urlopen(urllib.request.Request(url, json.dumps(request).encode()), timeout=60) as reply:
        return reply.read()


def capture(home, contract, build, folder):
    with virtual.router(build, "--home", home, "--still") as (url, _):
        time.sleep(5)  # the speed sampler and the sources of the home have told something by then
        session = json.loads(ask(url, {"action": "login", "info": {"user": "admin", "pwd": "admin"}}))["info"]["sessionid"]
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "scan.json").write_bytes(ask(url, {"action": "scan"}))
        ask(url, {"action": "get", "wanStatus": {}, "sessionid": session})  # wakes the speed sampler
        time.sleep(2)
        for name, facts in contract.objects.items():
            if "get" in facts:
                request = {"action": "get", name: facts["get"].get("example", {}), "sessionid": session}
                (folder / f"{name}.json").write_bytes(ask(url, request))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=PROJECT / "build/release")
    parser.add_argument("homes", nargs="*", default=HOMES)
    arguments = parser.parse_args()
    for home in arguments.homes:
        capture(home, Contract(), arguments.build, FOLDER / "fixtures" / home)
        print(f"contract/fixtures/{home}: {len(list((FOLDER / 'fixtures' / home).iterdir()))} replies")


if __name__ == "__main__":
    main()
