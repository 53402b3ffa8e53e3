# SPDX-License-Identifier: MIT
"""The requests of the cases with what the dry run tells of them, and of their keys, as lines of JSON for other languages.

Left out are those that an app's object cannot be: with a key twice, with bytes that are no UTF-8, with what only the router's
own reading of JSON makes of a text.
"""

import json
import sys

sys.dont_write_bytecode = True

import cases
import contract
from engine import dryrun


LONGEST = 4000  # bytes of a request


class Left(Exception):
    """The request is left out."""


def strict(pairs):
    names = [dryrun.wire.lower(name) for name, _ in pairs]
    if len(set(names)) != len(names):
        raise Left
    return dict(pairs)


def no_constant(_):
    raise Left


def lines():
    """The lines, and how many requests were left out."""
    whole, left, found = contract.Contract(), 0, []
    for step in cases.all_steps():
        try:
            request = json.loads(step.body.decode(), object_pairs_hook=strict, parse_constant=no_constant)
            if not isinstance(request, dict) or b"\\u0000" in step.body:
                raise Left
            text = json.dumps(request)
        except (Left, ValueError, RecursionError):
            left += 1
            continue
        if dryrun.ends_of(whole, step.body)[0].cause == "the body is no JSON" or len(text) > LONGEST:  # each of thousands of elements has its ends
            left += 1
            continue
        ends = [[end.reply, end.code, end.message, end.object, end.state, [[item, state or ""] for item, state in end.effects.writes],
                 end.effects.commit, dryrun.restarts(end.effects)] for end in dryrun.ends_of(whole, step.body)]
        strangers = dryrun.unknown_keys(whole, text.encode())
        found.append(f"[{text}, {json.dumps(ends)}, {json.dumps(strangers)}]")
    return found, left
