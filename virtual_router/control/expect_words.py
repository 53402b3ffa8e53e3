# SPDX-License-Identifier: MIT
"""script/router expect: the words, and how the verdict is printed."""

import json

import case_expectation

USAGE = """\
Usage: script/router expect [OPTION...]

Waits for a request like this. Exit status: 0 when it came, 1 when it did not; then the request that came nearest is told, and what it
lacked.

  --seconds N     wait so long (10)
  --since N       requests behind number N of the journal count, too; without it those that come from now on
  --phone N       it comes from this phone
  --action NAME   it has this action
  --object NAME   it names this object
  --request JSON  it has this in it; a text that begins with ~ is a regular expression
  --reply JSON    its reply has this in it
  --error N       its reply's error is this number
  --effect LINE   it does this, as "set MIB_DUT_NAME" or "commit"; may be given several times, in their order
  --never LINE    it does not do this; may be given several times
  --absent        no such request comes
  --case FILE     it is asked and answered as the first case of this file has it, or as the one of --named; among those in the
                  journal, so that the nearest is told
  --named NAME    the case with this name"""
NUMBERS = {"seconds": float, "since": int, "phone": int, "error": int}
TEXTS = ("action", "object")
TREES = ("request", "reply")
LISTS = {"effect": "effects", "never": "never"}


def wanted_by(words, wrong_call):
    found = {}
    words = list(words)
    of_case = {}
    while words:
        name, equals, value = words.pop(0).partition("=")
        key = name.removeprefix("--")
        if name == "--absent":
            found["absent"] = True
            continue
        if key in ("case", "named") and name.startswith("--") and (equals or words):
            of_case[key] = value if equals else words.pop(0)
            continue
        if not name.startswith("--") or key not in (*NUMBERS, *TEXTS, *TREES, *LISTS) or not (equals or words):
            raise wrong_call(f"script/router expect does not know '{name}', or it lacks a value (script/router expect help)")
        value = value if equals else words.pop(0)
        try:
            if key in LISTS:
                found.setdefault(LISTS[key], []).append(value)
            else:
                found[key] = NUMBERS[key](value) if key in NUMBERS else json.loads(value) if key in TREES else value
        except ValueError as error:
            raise wrong_call(f"{name}: {error}") from None
    if "case" in of_case:
        try:
            return {**case_expectation.expectation(of_case["case"], of_case.get("named")), **found}
        except case_expectation.NoCase as error:
            raise wrong_call(str(error)) from None
    return found


def act(control, words, wrong_call):
    if list(words[:1]) in (["help"], ["--help"]):
        print(USAGE)
        return 0
    wanted = wanted_by(words, wrong_call)
    control.seconds = wanted.get("seconds", 10) + 60
    answer = control.ask("POST", "/api/expect", wanted)
    if answer["met"]:
        print(f"met by request {answer['number']}" if answer["number"] is not None else "met: none came")
        return 0
    near = answer["near"]
    if near is None:
        print(f"not met: {'request ' + str(answer['number']) + ' came' if answer['number'] is not None else 'no request came'}")
    else:
        what = " ".join(filter(None, [near["action"], ",".join(near["objects"])]))
        print(f"not met by {answer['seen']} requests; the nearest is {near['number']} ({what}):", *(f"  {text}" for text in near["misses"]), sep="\n")
    return 1
