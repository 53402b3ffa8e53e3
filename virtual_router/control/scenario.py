# SPDX-License-Identifier: MIT
"""Scenarios: files with steps that are played on a running router, at its control port. docs/scenarios.md describes the form.

A step is a row of STEPS: it has one key that says what is done, and keys that say how and what must come of it.
"""

import contextlib
import json
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
import tempfile
import time
import tomllib

sys.path[1:1] = [str(pathlib.Path(__file__).resolve().parents[1] / name) for name in ("keeper", "")]

from control import client, matching  # noqa: E402

PROJECT = pathlib.Path(__file__).resolve().parents[2]
USAGE = """\
Usage: script/router scenario [--start] [--check] FILE...

Plays scenarios, each a file of steps in TOML, and says of each step whether it came out as it should. The files in
virtual_router/scenarios are examples; docs/scenarios.md describes them.

  --start   start a router for each of them, as the file says, and stop it afterwards; without it they are played on the one
            that runs
  --check   say what is wrong with the files, and play nothing

Exit status: 0 when all came out, 1 when something did not, 2 when a file is no scenario."""

WITHIN_SECONDS = 0.1  # between two looks at what is to become true
START_SECONDS = 240
END_SECONDS = 60
LOGIN = {"user": "admin", "pwd": "admin"}
NEED_LOGIN = 6


class WrongFile(Exception):
    """A file is no scenario; the text says why."""


class Failed(Exception):
    """A step did not come out as it should; the text says by what."""


class Player:
    def __init__(self, control):
        self.control = control
        self.session = None
        self.sessions = {}  # name of a snapshot -> the session that it has
        self.before = self.now = self.last_request()  # numbers of the journal: requests behind these are of the step before, of this one

    def last_request(self):
        return self.control.ask("GET", "/api/status")["journal"] or 0

    def play(self, step):
        self.before, self.now = self.now, self.last_request()
        verb = verb_of(step)
        STEPS[verb].play(self, step[verb], step)

    # --- what a step does ---

    def say(self, _value, _step):
        pass

    def wait(self, value, _step):
        time.sleep(value)

    def home(self, value, _step):
        verb, *words = words_of(value)
        self.control.ask("POST", f"/api/home/{verb}", {"words": words})

    def clock(self, value, _step):
        verb, *words = words_of(value)
        self.control.ask("POST", f"/api/clock/{verb}", {"words": words})

    def run(self, value, step):
        answer = self.control.ask("POST", "/api/run", {"command": words_of(value)})
        if answer["status"] != step.get("status", 0):
            raise Failed(f"its exit status is {answer['status']}: {answer['output'].strip()[-300:]}")
        must_be("output", step.get("output"), answer["output"].removesuffix("\n"))

    def fault(self, value, _step):
        lines = [value] if isinstance(value, str) else value
        if lines == ["clear"]:
            self.control.ask("DELETE", "/api/faults")
        else:
            self.control.ask("POST", "/api/faults", {"faults": lines})

    def reboot(self, value, _step):
        self.control.ask("POST", "/api/reboot", {"wait": value})

    def snapshot(self, value, _step):
        verb, name = words_of(value)
        path = f"/api/snapshots/{name}"
        if verb == "save":
            self.control.ask("POST", path, {"replace": True})
            self.sessions[name] = self.session
        else:
            self.control.ask("POST", f"{path}/restore", {})
            self.session = self.sessions.get(name, self.session)

    def login(self, value, step):
        info = LOGIN if value is True else value
        reply = self.request({"action": "login", "info": info}, step)
        found = reply.get("info", {}).get("sessionid")
        if step.get("keep", True) and found:
            self.session = found

    def ask(self, value, step):
        body = dict(value)
        if self.session and step.get("session", True) and "sessionid" not in body:
            body["sessionid"] = self.session
        self.request(body, step)

    def request(self, body, step):
        """Asks the router, until the reply is as it must be or the time for that is over."""
        path = f"/api/phones/{step.get('phone', 1)}/app/app.cgi"

        def once():
            reply = self.control.ask("POST", path, body)
            if not isinstance(reply, dict):
                raise Failed(f"the reply is no JSON: {reply[:200]!r}")
            error = reply.get("result", {}).get("error")
            if int(error if error is not None else -1) != step.get("error", 0):
                raise Failed(f"the error is {error} ({reply.get('result', {}).get('msg')}), not {step.get('error', 0)}")
            must_be("reply", step.get("reply"), reply)
            return reply

        return self.until(once, step)

    def see(self, value, step):
        def once():
            must_be(value, step["has"], self.control.ask("GET", value))

        self.until(once, step)

    def until(self, once, step):
        deadline = time.monotonic() + step.get("within", 0)
        while True:
            try:
                return once()
            except (Failed, client.Failed):
                if time.monotonic() >= deadline:
                    raise
            time.sleep(WITHIN_SECONDS)

    def expect(self, value, _step):
        answer = self.control.ask("POST", "/api/expect", {"since": self.before, **value})
        if not answer["met"]:
            near = answer["near"]
            if near is None:
                raise Failed(f"{answer['seen']} requests came" if answer["number"] is None else f"request {answer['number']} came")
            what = " ".join(filter(None, [near["action"], ",".join(near["objects"])]))
            raise Failed(f"{answer['seen']} requests came, and none was it; the nearest is {near['number']} ({what}):\n" + "\n".join(near["misses"]))


def words_of(value):
    return shlex.split(value) if isinstance(value, str) else value


def must_be(what, wanted, found):
    texts = [] if wanted is None else matching.misses(wanted, found)
    if texts:
        raise Failed("\n".join(f"{what}: {text}" for text in texts))


# --- the file ---


class Step:
    """How a step is written: what its value may be, and which keys may stand beside it."""

    def __init__(self, play, kinds, keys=(), needed=()):
        self.play = play
        self.kinds = kinds
        self.keys = {*keys, *needed}
        self.needed = needed


WORDS = (str, list)
STEPS = {
    "say": Step(Player.say, (str,)),
    "wait": Step(Player.wait, (int, float)),
    "home": Step(Player.home, WORDS),
    "clock": Step(Player.clock, WORDS),
    "run": Step(Player.run, WORDS, ("status", "output")),
    "fault": Step(Player.fault, (str, list)),
    "reboot": Step(Player.reboot, (bool,)),
    "snapshot": Step(Player.snapshot, WORDS),
    "login": Step(Player.login, (bool, dict), ("phone", "error", "reply", "within", "keep")),
    "ask": Step(Player.ask, (dict,), ("phone", "error", "reply", "within", "session")),
    "see": Step(Player.see, (str,), ("within",), ("has",)),
    "expect": Step(Player.expect, (dict,)),
}
KINDS = {
    "title": (str,), "status": (int,), "output": (str,), "phone": (int,), "error": (int,), "reply": (dict,), "within": (int, float), "keep": (bool,),
    "session": (bool,), "has": (dict, list),
}  # fmt: skip


def verb_of(step):
    return next(iter(step.keys() & STEPS.keys()))


def is_kind(value, kinds):
    return isinstance(value, kinds) and (bool in kinds or not isinstance(value, bool))


def check_step(step):
    """Raises WrongFile."""
    verbs = sorted(step.keys() & STEPS.keys())
    if len(verbs) != 1:
        raise WrongFile(f"has {'none' if not verbs else ' and '.join(verbs)} of: {' '.join(STEPS)}")
    verb = verbs[0]
    about = STEPS[verb]
    if not is_kind(step[verb], about.kinds):
        raise WrongFile(f"{verb} is {' or '.join(kind.__name__ for kind in about.kinds)}")
    if about.kinds == WORDS:
        try:
            words = words_of(step[verb])
        except ValueError as error:
            raise WrongFile(f"{verb}: {error}") from None
        if not words or not all(isinstance(word, str) for word in words):
            raise WrongFile(f"{verb} has words")
        if verb == "snapshot" and (len(words) != 2 or words[0] not in ("save", "restore")):
            raise WrongFile("snapshot is save NAME or restore NAME")
    for key in step.keys() - {verb, "title"}:
        if key not in about.keys:
            raise WrongFile(f"{key} does not stand beside {verb} (but {', '.join(['title', *sorted(about.keys)])})")
        if not is_kind(step[key], KINDS[key]):
            raise WrongFile(f"{key} is {' or '.join(kind.__name__ for kind in KINDS[key])}")
    for key in about.needed:
        if key not in step:
            raise WrongFile(f"{verb} needs {key}")
    try:
        if verb == "expect":
            matching.Expectation(step["expect"])
        for key in ("reply", "has"):
            matching.check_patterns(step.get(key))
    except (matching.Wrong, TypeError, AttributeError) as error:
        raise WrongFile(str(error)) from None


def load(path):
    """A scenario, in which all is as it must be. Raises WrongFile."""
    try:
        return parse(pathlib.Path(path).read_text(), path)
    except (OSError, UnicodeDecodeError) as error:
        raise WrongFile(f"{path}: {error}") from None


def parse(text, path):
    """The same of a text. `path` stands before what is wrong."""
    try:
        found = tomllib.loads(text)
    except tomllib.TOMLDecodeError as error:
        raise WrongFile(f"{path}: {error}") from None
    unknown = found.keys() - {"about", "server", "step"}
    if unknown:
        raise WrongFile(f"{path}: there is no key {unknown.pop()} (there are: about, server, step)")
    if not isinstance(found.get("about"), str) or not isinstance(found.get("server", ""), str) or not isinstance(found.get("step"), list) or not found["step"]:
        raise WrongFile(f"{path}: a scenario has a text 'about', steps [[step]], and perhaps a text 'server'")
    for number, step in enumerate(found["step"], 1):
        try:
            check_step(step)
        except WrongFile as error:
            raise WrongFile(f"{path}: step {number}: {error}") from None
    return found


def title_of(step):
    verb = verb_of(step)
    value = step[verb]
    shown = value if isinstance(value, str) else json.dumps(value, ensure_ascii=False)
    return step.get("title") or (shown if verb == "say" else f"{verb} {shown}"[:100])


# --- playing ---


def verdicts(found, control):
    """Plays a scenario: yields the title of each step and by what it failed, None if it did not. After one that did, none is played."""
    player = Player(control)
    for step in found["step"]:
        try:
            player.play(step)
        except (Failed, client.Failed) as error:
            yield title_of(step), str(error)
            return
        yield title_of(step), None


def play(found, control):
    """Plays a scenario, and says how each step came out. Returns how many did and how many did not."""
    came = did_not = 0
    for number, (title, failure) in enumerate(verdicts(found, control), 1):
        print(f"{'ok     ' if failure is None else 'FAILED '} {number:>3}  {title}", flush=True)
        for line in (failure or "").splitlines():
            print(f"             {line}", flush=True)
        came, did_not = came + (failure is None), did_not + (failure is not None)
    return came, did_not


@contextlib.contextmanager
def started(found):
    """A router of its own for a scenario: gives its state folder."""
    with tempfile.TemporaryDirectory(prefix="scenario-") as folder:
        state = f"{folder}/state"
        words = [PROJECT / "script/server", "--port", str(free_port()), "--state", state, *shlex.split(found.get("server", ""))]
        with open(f"{folder}/log", "w") as log:
            process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT, start_new_session=True)
        try:
            await_start(process, state, pathlib.Path(folder, "log"))
            yield state
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.kill(process.pid, signal.SIGTERM)
            process.wait(END_SECONDS)


def await_start(process, state, log):
    deadline = time.monotonic() + START_SECONDS
    while time.monotonic() < deadline and process.poll() is None:
        with contextlib.suppress(client.Failed):
            if client.Control(state).ask("GET", "/api/status")["router"] == "up":
                return
        time.sleep(0.1)
    raise Failed(f"the router does not start:\n{log.read_text(errors='replace')[-2000:]}")


def free_port():
    import socket

    with socket.create_server(("127.0.0.1", 0)) as probe:
        return probe.getsockname()[1]


def main(folder, words, wrong_call):
    """`wrong_call` is raised where the words make no sense. Returns the exit status."""
    options = {word for word in words if word.startswith("--")}
    files = [word for word in words if not word.startswith("--")]
    if "help" in files[:1] or "--help" in options:
        print(USAGE)
        return 0
    if not files or options - {"--start", "--check"}:
        raise wrong_call("script/router scenario is called otherwise (script/router scenario help)")
    try:
        scenarios = [(file, load(file)) for file in files]
    except WrongFile as error:
        print(f"script/router: {error}", file=sys.stderr)
        return 2
    if "--check" in options:
        return 0
    passed = failed = 0
    for file, found in scenarios:
        print(f"{re.sub('[.]toml$', '', pathlib.Path(file).name)}: {' '.join(found['about'].split())}", flush=True)
        try:
            with started(found) if "--start" in options else contextlib.nullcontext(folder) as state:
                came, did_not = play(found, client.Control(state))
        except Failed as error:
            print(f"FAILED  {error}", flush=True)
            came, did_not = 0, 1
        passed, failed = passed + came, failed + did_not
    print(f"{passed} passed, {failed} failed", flush=True)
    return int(failed > 0)
