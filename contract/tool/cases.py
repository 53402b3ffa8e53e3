# SPDX-License-Identifier: MIT
"""The cases of tests/cases as the contract's checks look at them: request, reply and what was done."""

import json
import re
import sys

from caseformat_text import caseformat
from contract import PROJECT

import verdict  # of tests/runner, whose folder caseformat_text has put on the path
from macros import Moment

sys.setrecursionlimit(20000)

MOMENT = Moment(second=1_800_000_000, laid_out=1_800_000_000)  # whatever the time is: it is the same in request and reply


def room(length):
    """How many bytes of the body the program reads for a CONTENT_LENGTH."""
    match = re.match(r"\s*([+-]?\d+)", caseformat.expand(length)) if length is not False else None
    number = int(match[1]) if match else 0
    return number if 0 < number < (1 << 31) - 1 else 0


def step_world(case, key):
    return case["world"].get(key, [])


class Step:
    """One request of a case and what the program was seen to do; tests/run_cases is what sees it."""

    def __init__(self, case, number, step):
        self.name = case["name"] + (f" (step {number})" if number > 1 else "")
        self.step, self.world = step, case["world"]
        body = caseformat.to_bytes(verdict.at_time(caseformat.expand(step.get("body", "")), MOMENT, case["macros"]))
        self.body = body[:room(step.get("content_length", str(len(body))))]
        # What keeps the program from starting the request at all: nothing of it can be told from the request.
        self.unstarted = "init" in step_world(case, "fail") or "memory" in case["world"] or not step.get("remote_addr")
        reply = step["reply"]
        self.reply = reply and verdict.at_time(caseformat.expand(reply), MOMENT, case["macros"])
        self.document = json.loads(self.reply) if self.reply else None
        self.events = step.get("events", [])
        self.queue = [record["type"] for record in step.get("queue", [])]


def all_steps(folder=PROJECT / "tests/cases"):
    items = caseformat.Items(PROJECT / "platform/items.conf")
    for case in caseformat.load_cases(folder, items):
        for number, step in enumerate(case["steps"], 1):
            yield Step(case, number, step)
