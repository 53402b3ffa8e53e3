# SPDX-License-Identifier: MIT
"""A case of tests/run_cases as an expectation: what it sends, and what must be seen of it. So the journal tells which request came nearest
to a case, and by what that missed it."""

import re
import tomllib

from bodies import json_object

_MACRO = re.compile(r"%\w*(\(|\[|%)")  # what only the case runner can fill in
_OF_CONNECTION = ("sessionid", "guid")  # another in each request


class NoCase(ValueError):
    """There is no such case; the text says why."""


def read(path, name=None):
    """The case with that name, or the first; of one with rows the first row."""
    try:
        with open(path, "rb") as file:
            found = tomllib.load(file)
    except (OSError, tomllib.TOMLDecodeError) as error:
        raise NoCase(f"{path}: {error}") from None
    cases = found.get("case") or ([found] if "body" in found else [])
    case = next((case for case in cases if name in (None, case.get("name"))), None)
    if case is None:
        raise NoCase(f"{path} has no case {name or 'at all'}")
    case = {**found.get("defaults", {}), **case}
    row = case["rows"][0] if case.get("rows") else []
    values = dict(zip(case.get("columns", ()), row)) if isinstance(row, list) else row
    return filled(case, values)


def filled(value, values):
    if isinstance(value, dict):
        return {key: filled(each, values) for key, each in value.items()}
    if isinstance(value, list):
        return [filled(each, values) for each in value]
    if isinstance(value, str):
        return re.sub(r"%(\w+)%", lambda match: str(values.get(match[1], match[0])), value)
    return value


def known(tree):
    """What does not hang on a macro or on the session."""
    if isinstance(tree, dict):
        return {key: known(value) for key, value in tree.items() if key.lower() not in _OF_CONNECTION and not (isinstance(value, str) and _MACRO.search(value))}
    if isinstance(tree, list):
        return [known(value) for value in tree if not (isinstance(value, str) and _MACRO.search(value))]
    return tree


def expectation(path, name=None):
    case = read(path, name)
    request, reply = (known(json_object(case.get(key))) for key in ("body", "reply"))
    if request is None:
        raise NoCase(f"{path}: the case's body is no object of JSON, or only the case runner can fill it in")
    effects = []
    for line in case.get("events", []):
        marks, rest = re.fullmatch(r"((?:(?:replied|queued)=\S+ )*)(.*)", line, re.DOTALL).groups()
        command = rest.removeprefix("run ") if rest.startswith("run ") else None
        answer = case.get("commands", {}).get(command)
        status = answer.get("status", 0) if isinstance(answer, dict) else 0
        if not _MACRO.search(rest):
            effects.append(f"failed={status} {rest}" if status else rest)
    return {"request": request, **({"reply": reply} if reply else {}), **({"effects": effects} if effects else {}), "since": 0, "seconds": 0}
