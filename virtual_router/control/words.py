# SPDX-License-Identifier: MIT
"""The words of script/router that go to the control port: words.py STATE VERB [WORD...]. Exit status: 0 done, 1 refused, 2 a wrong call."""

import json
import pathlib
import sys

sys.dont_write_bytecode = True

sys.path[1:1] = [str(pathlib.Path(__file__).resolve().parents[1] / name) for name in ("keeper", "")]

import expect_words  # noqa: E402
import snapshot_words  # noqa: E402

from control import client  # noqa: E402


class WrongCall(Exception):
    """The words make no sense; the text says why."""


def shown(value):
    print(json.dumps(value, indent=2, ensure_ascii=False))


def url(control, *words):
    if words:
        raise WrongCall(USAGES["url"])
    print(control.printed_url())


def api(control, *words):
    """A method in capitals may come first; a body stands last."""
    method, rest = (words[0], words[1:]) if words and words[0].isupper() else (None, words)
    if not 1 <= len(rest) <= 2 or not rest[0].startswith("/"):
        raise WrongCall(USAGES["api"])
    body = None
    if len(rest) == 2:
        try:
            body = json.loads(rest[1])
        except ValueError as error:
            raise WrongCall(f"the body is no JSON: {error}") from None
    answer = control.ask(method or ("GET" if body is None else "POST"), rest[0], body)
    if isinstance(answer, bytes):
        sys.stdout.buffer.write(answer)
    else:
        shown(answer)


def reboot(control, *words):
    if words not in ((), ("--wait",)):
        raise WrongCall(USAGES["reboot"])
    control.ask("POST", "/api/reboot", {"wait": bool(words)})


def snapshot(control, *words):
    snapshot_words.act(control, words, WrongCall)


def expect(control, *words):
    return expect_words.act(control, words, WrongCall)


# verb: function, and how it is called
VERBS = {
    "url": (url, "url"),
    "api": (api, "api [METHOD] PATH [JSON]"),
    "reboot": (reboot, "reboot [--wait]"),
    "snapshot": (snapshot, "snapshot [VERB [WORD...]]"),
    "expect": (expect, "expect [OPTION...]"),
}
USAGES = {verb: f"usage: script/router {usage}" for verb, (_, usage) in VERBS.items()}


def main(folder, verb, *words):
    try:
        if verb == "scenario":  # which may start its own router
            import scenario

            return scenario.main(folder, words, WrongCall)
        if verb in ("record", "replay", "recording"):  # of which two need no router
            import record_words

            if words[:1] in (("help",), ("--help",)):
                print(record_words.USAGE)
                return 0
            if verb == "replay":
                return record_words.replay(client.Control(folder), words, WrongCall)
            if verb == "recording":
                return record_words.make_home(words, WrongCall)
            return record_words.record(words, WrongCall, lambda: client.Control(folder))
        function, _ = VERBS[verb]
        return function(client.Control(folder), *words) or 0
    except WrongCall as error:
        print(f"script/router: {error}", file=sys.stderr)
        return 2
    except BrokenPipeError:
        raise  # whoever reads has seen enough
    except (client.Failed, OSError) as error:
        print(f"script/router: {error}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    try:
        sys.exit(main(*sys.argv[1:]))
    except (KeyboardInterrupt, BrokenPipeError):
        sys.stderr.close()
        sys.exit(130)
