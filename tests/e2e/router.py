# SPDX-License-Identifier: MIT
"""A running script/server: how to start, ask, watch and stop it, and what it left behind."""

import ctypes
import fcntl
import glob
import os
import pathlib
import random
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

PROJECT = pathlib.Path(__file__).resolve().parents[2]
LIBC = ctypes.CDLL(None, use_errno=True)
PR_SET_CHILD_SUBREAPER = 36
QUEUE_KEY = LIBC.ftok(b"/dev/null", 117) & 0xFFFFFFFF

POST_RECORD = """
import ctypes, sys
libc = ctypes.CDLL(None, use_errno=True)
key, kind, payload = int(sys.argv[1]), int(sys.argv[2]), bytes.fromhex(sys.argv[3])
queue = libc.msgget(ctypes.c_int(key), 0)
message = kind.to_bytes(8, sys.byteorder) + payload
sys.exit(libc.msgsnd(queue, message, ctypes.c_size_t(len(payload)), 0) != 0)
"""


def adopt_orphans():
    """Makes this process the parent of whatever a child leaves behind, so that it is seen."""
    LIBC.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


# Ports below those that clients get: one of these may be a request's the moment after it was seen to be free.
PORTS = range(20000, 32000)
ALWAYS = []  # further options of script/server
GIVEN_PORTS = set()
# A file whose bytes are locked by whoever has the port of that number: another test on this PC must not take it, not even
# while nobody listens there, as between two routers. The locks end with the process.
CLAIMS = open(pathlib.Path(tempfile.gettempdir(), f"e2e-ports-{os.geteuid()}"), "ab")


def is_free(port):
    if port in GIVEN_PORTS:
        return False
    try:
        fcntl.lockf(CLAIMS, fcntl.LOCK_EX | fcntl.LOCK_NB, 1, port)
    except OSError:
        return False
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) != 0  # nobody listens


def free_port(count=1):
    """A port that is this process's, and so are the next, `count` in all."""
    while True:
        port = random.choice(PORTS)
        if all(is_free(port + number) for number in range(count)):
            GIVEN_PORTS.update(range(port, port + count))
            return port


def processes():
    """Returns {pid: (parent's pid, command name)}."""
    found = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                stat = pathlib.Path(f"/proc/{entry}/stat").read_text()
            except OSError:
                continue
            name, rest = stat[stat.index("(") + 1 :].rsplit(")", 1)
            found[int(entry)] = (int(rest.split()[1]), name)
    return found


def command_line(pid):
    """Returns the process's program and arguments as one text with blanks between; "" if it has ended meanwhile."""
    try:
        return pathlib.Path(f"/proc/{pid}/cmdline").read_bytes().decode(errors="replace").replace("\0", " ")
    except OSError:
        return ""


def queues():
    """Returns {(key, id)} of this PC's message queues."""
    lines = pathlib.Path("/proc/sysvipc/msg").read_text().splitlines()[1:]
    return {(int(line.split()[0]) & 0xFFFFFFFF, int(line.split()[1])) for line in lines}


# How long a busy machine may take for what is soon done otherwise. Nothing is measured with it: what comes late is waited for.
PATIENCE_SECONDS = 60


# script/server has some patience of its own, and says so before it gives up.
START_SECONDS = 240
# A request may have a hundred programs run one after another.
REPLY_SECONDS = 240


def look_until(good, look, pause=0.05, seconds=PATIENCE_SECONDS):
    """Looks until what is seen is good, or patience ends. Returns what was seen last."""
    deadline = time.monotonic() + seconds
    while not good(seen := look()) and time.monotonic() < deadline:
        time.sleep(pause)
    return seen


def outcome(command, **how):
    """Runs a command to its end, which must be soon. Returns its exit status (None: it did not end) and all that it said."""
    try:
        run = subprocess.run(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=PATIENCE_SECONDS, **how
        )
    except subprocess.TimeoutExpired as late:
        return None, (late.stdout or b"").decode(errors="replace")
    return run.returncode, run.stdout


def heed_signals():
    """Whoever runs the tests in the background has Ctrl-C ignored, or a hang-up, and bash can't trap what it finds ignored."""
    for number in (signal.SIGINT, signal.SIGHUP):
        signal.signal(number, signal.SIG_DFL)


def copy_project(folder):
    """A copy of what script/server runs, to be changed. Returns its folder."""
    project = pathlib.Path(folder, "project")
    for name in ("script", "virtual_router", "platform", "contract"):
        shutil.copytree(PROJECT / name, project / name, ignore=shutil.ignore_patterns("__pycache__", "node_modules"), symlinks=True)
    pathlib.Path(folder).chmod(0o755)
    return project


def options_of(build):
    """The options that are on in a build folder, such as HARDEN_SESSIONS; none in a folder of programs alone."""
    cache = pathlib.Path(build, "CMakeCache.txt")
    return set(re.findall(r"^(\w+):BOOL=ON$", cache.read_text(), re.MULTILINE)) if cache.exists() else set()


class Router:
    """One state folder and two ports, on which routers may be started one after another."""

    def __init__(self, way, build, project=PROJECT):
        self.way = way
        self.project = project
        self.build = build
        self.options = options_of(build)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix=f"e2e-{way.name}-"))
        self.state = self.folder / "state"
        self.temporary = self.folder / "tmp"
        for folder in (self.state, self.temporary):
            folder.mkdir()
            if way.user:
                os.chown(folder, way.user.pw_uid, way.user.pw_gid)
        self.folder.chmod(0o755)
        self.port = free_port(4)  # the others are further phones' and agents'
        self.loopback_port = free_port()
        self.log = self.folder / "log"
        self.look = self.read_log
        self.process = None
        self.queue = None

    def command(self, *arguments):
        return [*self.way.prefix, str(self.project / "script/server"), "--build", self.build, *arguments]

    def environment(self, **more):
        return {**os.environ, "TMPDIR": str(self.temporary), **more}

    def run(self, *arguments, **environment):
        """Runs script/server to its end, which must be soon. Returns its exit status and all that it said."""
        return outcome(self.command(*arguments), env=self.environment(**environment))

    def start(self, *arguments, fast=True, output=None, look=None, handed=()):
        """Starts a router, whose reboots are short ones unless it is told otherwise. It prints into a file, or to the descriptor `output`,
        and `look` tells what; it has the descriptors `handed`, too. Returns the seconds until it had introduced itself, or None if it did not."""
        self.before = queues()
        self.look = look or self.read_log
        begin = time.monotonic()
        with open(self.log, "w") as log:
            self.process = subprocess.Popen(
                self.command(
                    "--port", str(self.port), "--loopback-port", str(self.loopback_port), "--state", str(self.state),
                    "--debug", *ALWAYS, *(["--fast"] if fast else []), *arguments,
                ),
                stdin=subprocess.DEVNULL,
                stdout=log if output is None else output,
                stderr=subprocess.STDOUT,
                env=self.environment(),
                preexec_fn=heed_signals,
                pass_fds=handed,
            )  # fmt: skip
        if not self.await_output("Ctrl-C stops the router", seconds=START_SECONDS):
            return None
        queue = self.state / "run/queue"
        self.queue = int(queue.read_text()) if queue.exists() else None
        return time.monotonic() - begin

    def output(self):
        return self.look()

    def read_log(self):
        return self.log.read_text(errors="replace")

    def await_output(self, text, after=0, seconds=PATIENCE_SECONDS):
        """Waits until the output from place `after` on has the text. False: it did not come."""

        def look():
            ended = self.process and self.process.poll() is not None  # after which nothing more is said
            return text in self.output()[after:], ended

        return look_until(any, look, pause=0.01, seconds=seconds)[0]

    def ask(self, body, loopback=False, path="/app/app.cgi", post=True):
        """Asks with curl. Returns the HTTP status, the content type and the text."""
        port = self.loopback_port if loopback else self.port
        command = ["curl", "-sS", "--max-time", str(REPLY_SECONDS), "-w", "\n%{http_code} %{content_type}"]
        if post:
            command += ["--data-binary", "@-"]
        run = subprocess.run([*command, f"http://127.0.0.1:{port}{path}"], input=body.encode(), capture_output=True)
        if run.returncode != 0:
            return 0, "", run.stderr.decode()
        text, _, info = run.stdout.decode().rpartition("\n")
        status, _, kind = info.partition(" ")
        return int(status), kind, text

    def find_process(self, name, word=""):
        """Returns the id of the router's process of that name (None: any), with that text in its command line; of those that have begun
        as copies of another, that one."""
        table = processes()
        for pid, (parent, command) in table.items():
            if name is not None and table.get(parent, (0, ""))[1] == command:
                continue
            while name in (None, command) and parent in table:
                if parent == self.process.pid:
                    if word in command_line(pid):
                        return pid
                    break
                parent = table[parent][0]
        return None

    def await_process(self, name, word=""):
        """The same, where it is to be there: one that was started a moment ago is not yet what it becomes."""
        pid = look_until(bool, lambda: self.find_process(name, word))
        if pid is None:
            raise RuntimeError(f"the router has no process {name} {word}; it has {sorted(command for _, command in processes().values())}")
        return pid

    def wake_ups(self, name, word):
        """How often that process has waited for something so far."""
        status = pathlib.Path(f"/proc/{self.await_process(name, word)}/status").read_text()
        return int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)$", status, re.MULTILINE).group(1))

    def tool(self, *command):
        return [*self.way.prefix, str(self.project / "script/router"), "--state", str(self.state), *command]

    def is_at_rest(self):
        """Whether the system daemon waits for a record: it sleeps, and runs no command. One that was posted has it awake."""
        daemon = self.find_process("system_daemon")

        def waits():
            try:
                found = re.search(r"^State:\s+S.*^voluntary_ctxt_switches:\s+(\d+)$", pathlib.Path(f"/proc/{daemon}/status").read_text(), re.MULTILINE | re.DOTALL)
            except OSError:
                return None
            return found and found[1]

        before = waits()
        busy = any(parent == daemon for parent, _ in processes().values())
        return before is not None and not busy and waits() == before

    def inside(self, *command):
        """Runs a command inside the router with script/router. Returns its exit status and what it said."""
        return outcome(self.tool(*command))

    def begin(self, *command):
        """The same in the background. Returns the process."""
        return subprocess.Popen(self.tool(*command), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)

    def on_phone(self, *command):
        """Runs a command of the PC in the phone's network. Returns its exit status and what it said."""
        return self.inside("phone", *command)

    def post(self, kind, payload):
        """Posts a record to the system daemon. True: the queue took it."""
        enter = []
        key = QUEUE_KEY
        if self.way.by_proot:
            home = (self.state / "run/root/etc/kernel-stand-in").read_text()
            key = int(re.search(r"^queue-key (-?\d+)$", home, re.MULTILINE).group(1))
        else:
            pid = self.await_process("system_daemon")
            user = [] if os.geteuid() == 0 else ["--user", "--preserve-credentials"]
            enter = ["nsenter", f"--target={pid}", "--ipc", *user]
        key = key - (1 << 32) if key >= 1 << 31 else key
        return subprocess.run([*enter, sys.executable, "-c", POST_RECORD, str(key), str(kind), payload.hex()]).returncode == 0

    def await_end(self):
        """Waits for the end of script/server. Returns its exit status, or None if it still runs."""
        try:
            return self.process.wait(PATIENCE_SECONDS)
        except subprocess.TimeoutExpired:
            return None

    def stop(self, signum):
        """Sends script/server a signal. Returns the exit status and what was left behind."""
        self.process.send_signal(signum)
        status = self.await_end()
        return status, self.leftovers()

    def leftovers(self):
        """Returns a list of what there is of a router after its end."""
        left = []
        # What a process leaves is adopted by this one; those that are just ending are waited for.
        deadline = time.monotonic() + PATIENCE_SECONDS
        while True:
            try:
                while os.waitpid(-1, os.WNOHANG)[0]:
                    pass
            except ChildProcessError:
                break
            if time.monotonic() > deadline:
                left += [f"process {name}" for parent, name in processes().values() if parent == os.getpid()]
                break
            time.sleep(0.01)
        left += [f"control group {path}" for path in glob.glob(f"/sys/fs/cgroup/**/virtual-router-{self.process.pid}", recursive=True)]
        if str(self.folder) in pathlib.Path("/proc/self/mountinfo").read_text():
            left.append("a mount")
        left += [f"queue {key:#x}" for key, id in queues() - self.before if key == QUEUE_KEY or id == self.queue]
        left += [f"temporary file {name}" for name in os.listdir(self.temporary)]
        left += [f"{name} in the state folder" for name in os.listdir(self.state) if name not in ("flash", "agents", "snapshots", "router.lock")]
        return left

    def remove(self):
        if self.process and self.process.poll() is None:
            self.stop(signal.SIGTERM)
        shutil.rmtree(self.folder)
