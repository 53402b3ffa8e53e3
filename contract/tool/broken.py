#!/usr/bin/python3 -B
# SPDX-License-Identifier: MIT
"""How a running virtual router is made to give the messages that only a broken store, kernel or system daemon causes.

    contract/tool/broken.py [BUILD]    arms the faults of each, sends its request and looks for the message

The last line is "N passed, N failed".
"""

import json
import subprocess
import sys
import time
import urllib.request

import contract  # which puts the vocabulary on the path
import vocabulary

sys.path.append(str(contract.PROJECT / "virtual_router/keeper"))
from faults import OF_TAP  # noqa: E402

TRIES = 30
PAUSE_SECONDS = 0.3


def lines_of(trial):
    """The faults, in the words of `script/router faults add`, that bring a healthy router into this state. None: they are of
    calls that a virtual router does not let fail, or the state is no fault's."""
    found = list(trial.get("fail", []))
    if any(vocabulary.parse_fault(line).call not in OF_TAP for line in found):
        return []
    if found:
        found += [f"failed={told['status']} run {command.split()[0]}" for command, told in trial.get("commands", {}).items()]
    found += [f"failed=ENOENT open {path}" for path, content in trial.get("files", {}).items() if content is False]
    return found


def command(trial):
    return "script/router faults add " + " ".join(f'"{fault}"' for fault in lines_of(trial))


def met(armed, lines, ask):
    """The message of a request that meets these faults."""
    armed("add", *(f"requests=1 {line}" for line in lines))
    try:
        return ask()["result"].get("msg")
    except (OSError, ValueError, KeyError) as error:
        return error
    finally:
        armed("clear")


def main():
    import caseformat_text
    import virtual

    build = sys.argv[1] if len(sys.argv) > 1 else str(contract.PROJECT / "build/release")
    passed = failed = 0
    with virtual.router(build, "--home", "family", "--fast") as (url, state):

        def ask(body):
            request = urllib.request.Request(url, json.dumps(body).encode())
            with urllib.request.urlopen(request, timeout=30) as reply:
                return json.load(reply)

        def armed(*words):
            subprocess.run([contract.PROJECT / "script/router", "--state", state, "faults", *words], check=True, stdout=subprocess.DEVNULL)

        session = ask({"action": "login", "info": {"user": "admin", "pwd": "admin"}})["info"]["sessionid"]
        for name, action, step in contract.Contract().refusals():
            trial = step.get("try", {})
            if not lines_of(trial) or "store" in trial:  # what must be in a table first is of no matter here
                continue
            body = {"action": action, "sessionid": session, name: caseformat_text.expand(trial["send"])}
            message = met(armed, lines_of(trial), lambda: ask(body))
            # What a get needs may have to start first, on the request before: a sampler of traffic.
            for _ in range(TRIES if action == "get" else 0):
                if message == step["refuse"]:
                    break
                ask(body)
                time.sleep(PAUSE_SECONDS)
                message = met(armed, lines_of(trial), lambda: ask(body))
            good = message == step["refuse"]
            passed, failed = passed + good, failed + (not good)
            if not good:
                print(f"FAILED  {action} {name}: {command(trial)}: not {step['refuse']!r}, but {message!r}")
    print(f"{passed} passed, {failed} failed")
    return failed > 0


if __name__ == "__main__":
    sys.exit(main())
