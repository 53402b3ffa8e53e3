# SPDX-License-Identifier: MIT
"""The cases against the hardened build: the same requests, replies and store, reached in other ways.

What a case lays out and expects for the default build is laid out and expected here as the hardened build has it; what it
changes on purpose, so that a case cannot be kept, stands by name in tests/hardened/changed.toml.
"""

import re
import time
import tomllib

import sandbox
from caseformat import expand

SESSION_FILE = "/var/app_sessionid"
PROCESSES = {"speedtest": 4711, "fwupgtool": 4712}  # name -> the number under which one runs
PROCESS_FILES = {name: f"/proc/{number}/stat" for name, number in PROCESSES.items()}
OWN_FILES = (  # the hardened build's own, and the processes that are laid out for it: no case for both builds speaks of them
    SESSION_FILE + ".logins", *PROCESS_FILES.values(),
)
PROGRAMS = ("flash", "ping", "leds", "wscd", "curl")
MOST_CHANGED = 0.05  # of all cases
CALLED_BY_IT_ALONE = {  # sources of the endpoint that the default build compiles and never calls
    "base/boot_clock.cpp", "base/own_file.cpp", "base/random.cpp", "base/same_secret.cpp", "base/spawn.cpp", "kernel/processes.cpp",
}
BACKGROUND = "run curl "  # what the program does not wait for, so that its place among the events is chance


class TableError(Exception):
    """The table of changed cases says something that is not so."""


class HardenedSandbox(sandbox.Sandbox):
    """One without a shell, in which programs are found by their names."""

    SHELL = tuple(f"/bin/{name}" for name in PROGRAMS)
    longest_background = 60  # seconds, on a busy machine

    def run(self, step, body):
        for name, number in PROCESSES.items():
            self.root.path(PROCESS_FILES[name]).unlink(missing_ok=True)
            if name in step.get("processes", ()):
                self.root.put(PROCESS_FILES[name], f"{number} ({name}) S 1 {number} {number} 0 -1 4194560 0 0\n")
            elif self.root.path(f"/proc/{number}").exists():
                self.root.path(f"/proc/{number}").rmdir()
        self.root.write("/.runner/at_signal", expand(step.get("at_signal", "")).encode())
        seen = super().run(step, body)
        background = sorted((event for event in seen["log"] if str(event).startswith(BACKGROUND)), key=str)
        seen["log"] = [event for event in seen["log"] if event not in background] + background
        return seen

    def wait_for_background(self, step):
        wanted = sum(line.startswith(BACKGROUND) for line in step.get("events", []))
        deadline = time.monotonic() + self.longest_background
        while wanted and time.monotonic() < deadline:
            if self.root.path("/.runner/events").read_text(errors="replace").count(BACKGROUND) >= wanted:
                return
            time.sleep(0.002)


# ---- a case as the hardened build has it

def translate(case):
    world, steps = dict(case["world"]), [dict(step) for step in case["steps"]]
    files = dict(world.get("files", {}))
    for step in steps:
        if "files_after" in step:
            step["files_after"] = session_of(step["files_after"], step.get("remote_addr", ""))
        translate_commands(step, files)
    world["files"] = session_of(files, steps[0].get("remote_addr", ""))
    return {**case, "world": world, "steps": steps}


def session_of(files, address):
    """A session of a moment ago, of the client that asks."""
    content = files.get(SESSION_FILE)
    if not isinstance(content, str) or not re.fullmatch(r"sessionid=\S+", content):
        return files
    terms = f"{content}\nboot=\nsince=%TIME()%\nused=%TIME()%\naddress={address}\n"
    return {**files, SESSION_FILE: terms}


def translate_commands(step, files):
    """What the default build has the shell do is done in other ways: `WAYS` has them."""
    commands, processes, after = {}, set(), {}
    signalled_for = [answer["remove"] for command, answer in step.get("commands", {}).items()
                     if "kill" in command and isinstance(answer, dict) and "remove" in answer]
    for command, answer in step.get("commands", {}).items():
        answer = {"output": answer} if isinstance(answer, str) else answer
        for pattern, lay_out, _ in WAYS:
            if match := re.fullmatch(pattern, expand(command), re.S):
                commands.update(lay_out(match, answer, files, processes))
                break
        else:
            commands[command] = answer
    events, background = [], []
    for line in step.get("events", []):
        for pattern, _, done in WAYS:
            if match := re.fullmatch("run " + pattern, expand(line), re.S):
                kept, changed = done(match, processes)
                (background if kept and kept.startswith(BACKGROUND) else events).extend([kept] if kept else [])
                after.update(changed)
                break
        else:
            events.append(line)
    step["commands"], step["processes"], step["at_signal"] = commands, processes, "".join(signalled_for)
    step["events"] = events + sorted(background)
    if after:
        step["files_after"] = {**step.get("files_after", {}), **after}


def mac_of_bridge(_, answer, files, __):
    """`ifconfig` is not asked, but the kernel is; it has the address that the command would have printed."""
    for line in expand(answer.get("output", "")).split("\n"):
        if words := re.match(r"br0\s*\S+\s+\S+\s+\S+\s+((?:[0-9A-F]{2}:){5}[0-9A-F]{2})(?!\S)", line):
            place = files.get("/sys/class/net/br0") or "- - -"
            files["/sys/class/net/br0"] = " ".join([*(place.split() + ["-"] * 3)[:2], words[1]])
    return {}


def process(match, answer, _, processes):
    """`killall` is not run: the processes are looked at."""
    if answer.get("status", 0) == 0:
        processes.add(match["name"])
    return {}


def signalled(match, processes):
    """Signal 0 is none, and nobody is signalled where nobody runs."""
    name, signal = match["name"], match["signal"]
    return (f"signal {PROCESSES[name]} {signal}" if name in processes and signal != "0" else None), {}


def setting(match, answer, *_):
    """`flash get NAME|grep NAME=1`: what it prints is read instead of grep's status."""
    name = match["name"]
    return {f"flash get {name}": {"output": f"{name}={1 if answer.get('status', 0) == 0 else 0}\n"}}


def nothing(*_):
    return {}


# The command's text, what is laid out for its answer, and what of it is seen: the event, if one is left, and files.
WAYS = (
    (r"ifconfig br0", mac_of_bridge, lambda match, _: (None, {})),
    (r"killall -(?P<signal>0|USR1) (?P<name>\w+) 2>/dev/null", process, signalled),
    (r"kill -SIG(?P<signal>\w+) (?P<process>\d+)(\n|\\n)", nothing, lambda match, _: (f"signal {match['process']} {match['signal']}", {})),
    (r"rm /var/app_sessionid", nothing, lambda match, _: (None, {SESSION_FILE: False})),
    (r"echo (?P<text>\S+) > (?P<path>\S+) ?", nothing, lambda match, _: (None, {match["path"]: match["text"] + "\n"})),
    (r"flash get (?P<name>\w+)\|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null", setting, lambda match, _: (f"run flash get {match['name']}", {})),
    (r"(?P<command>ping -c [1-3] -W 3 [\w.-]+) 2>&1", lambda match, answer, *_: {match["command"]: answer},
     lambda match, _: (f"run {match['command']}", {})),
    (r"curl -d '(?P<body>[^']*)' (?P<url>\S+) >/dev/null 2>/dev/null &",
     lambda match, answer, *_: {f"curl -m 10 -d {match['body']} {match['url']}": answer},
     lambda match, _: (f"run curl -m 10 -d {match['body']} {match['url']}", {})),
)


def without_own_files(files, step):
    """The files that were seen, without those of the build's own that the step does not speak of."""
    return {path: content for path, content in files.items()
            if path not in OWN_FILES or path in step.get("files_after", {})}


# ---- the table of changed cases

def read_changed(path, names):
    """Case name -> why it is changed. A name with "*" at its end means all that begin so."""
    changed = {}
    for row in tomllib.loads(path.read_text())["changed"]:
        for name in row["cases"]:
            meant = [known for known in names if known == name or name.endswith("*") and known.startswith(name[:-1])]
            if not meant:
                raise TableError(f"{path}: there is no case {name!r}")
            for known in meant:
                if known in changed:
                    raise TableError(f"{path}: {known!r} is there twice")
                changed[known] = f"{row['option']}: {row['reason']}"
    if len(changed) >= MOST_CHANGED * len(names):
        raise TableError(f"{path}: {len(changed)} cases of {len(names)} are changed, that is not under {MOST_CHANGED:.0%}")
    return changed
