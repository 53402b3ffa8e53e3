# SPDX-License-Identifier: MIT
"""A worker's root, one case's world in it, and one run of the program with everything that it did."""

import contextlib
import os
import pathlib
import shutil
import socket
import subprocess
import threading
import time

from answers import command_table, station_table
from caseformat import expand, to_bytes, to_text
from isolation import Isolation
from message_queue import BUSY_FOR, Queue, show_record
from observe import Console, Openings, exchange, make_room, messages
from root import PROGRAM, Root, emulator_of
from scgi import LATE, OPTIONS, SOCKET, Request, exit_status
from store import Layout, Store
from vocabulary import parse_event, parse_fault
from watch import Watch

FOLDER = os.path.dirname(PROGRAM)


class Sandbox:
    """One for each worker. Made once; each case lays out its world in it."""

    SHELL = ("/bin/sh",)  # where the double of the shell is found, and under which names

    def __init__(self, folder, binary, tools, items, mode, target=None, through="cgi"):
        self.tools = pathlib.Path(tools)
        self.layout = Layout(items)
        self.target = target
        self.through = through
        self.watch = Watch(mode)
        self.isolation = Isolation(mode)
        self.root = Root(folder, binary, self.tools, target, self.watch.files)
        self.isolation.supply_proc(self.root)
        self.complete_root()
        self.root.finish()
        self.openings = Openings()

    def settle(self):
        """For a process that does nothing else: it sees nothing but the root from here on, and runs programs faster."""
        self.isolation.enter(self.root, FOLDER)

    def complete_root(self):
        """Adds to the root what else is to be there for every case: nothing here."""

    def prepare(self, world):
        """Lays out a case's world."""
        self.world = world
        self.root.reset()
        self.store = Store(world, self.layout)
        self.root.laid_out = int(time.time())
        for path, content in {"/dev/null": "", "/dev/console": {"type": "fifo"}, **world.get("files", {})}.items():
            self.root.put(path, content)
        for name in self.SHELL if world.get("shell", True) else ():
            os.link(self.root.path("/.runner/shell"), self.root.path(name))
        self.root.write("/.runner/arp", to_bytes("\n".join(expand(line) for line in world.get("arp", []))))
        self.put_stations(world.get("stations", {}))
        self.queue = self.find_queue()
        if world.get("queue_exists"):
            self.queue.create()
        if world.get("queue_full"):
            self.queue.fill()

    def put_stations(self, interfaces):
        """Interface -> the Wi-Fi driver's answer: rows of a table, a text as it stands, or false where it refuses."""
        folder = self.root.path("/.runner/wireless")
        shutil.rmtree(folder, ignore_errors=True)
        for name, answer in interfaces.items():
            (folder / name).mkdir(parents=True)
            if answer is not False:
                data = to_bytes(expand(answer)) if isinstance(answer, str) else station_table(answer)
                (folder / name / "stations").write_bytes(data)

    def find_queue(self):
        """A queue that nobody has made yet."""
        null = self.root.path("/dev/null")
        queue = Queue(null)
        while queue.find() >= 0:  # a key of somebody else: another inode gives another key
            if self.isolation.own_space:
                queue.drain()
                continue
            spare = self.root.path("/dev/null.new")
            spare.touch()
            spare.rename(null)
            queue = Queue(null)
        return queue

    def files(self):
        return self.root.files()

    def command_line(self, step):
        """The command line and the environment of a step."""
        memory = self.world.get("memory")
        arguments = self.watch.limits(memory)
        for fault in map(parse_fault, self.world.get("fail", [])):
            arguments += ["-f", str(fault)] if fault.of_the_kernel else []
        line = self.isolation.launcher(self.root, self.tools, arguments, FOLDER) + self.watch.command()
        emulator, preloaded = emulator_of(self.target) if self.target else ([], {})
        line += emulator
        env = {**step.get("env", {}), **preloaded, **self.isolation.environment(self.root),
               **self.watch.environment(memory, self.isolation.proot)}
        if self.through == "scgi":
            refused = any(parse_fault(fault).call == "init" for fault in self.world.get("fail", []))
            return line + [PROGRAM, *OPTIONS, *(LATE if refused else [])], env
        return line + [PROGRAM, *map(expand, step.get("args", []))], env

    def connect(self, process, variables):
        """Begins a request to app.scgi; its connection takes the place of the process's standard input."""
        try:
            request = Request(self.root.path(SOCKET), process, self.watch.timeout)
        finally:
            process.stdin.close()
        request.send(variables)
        process.stdin = request
        return request

    def wait_for_background(self, step):
        """Waits for what the program has started and does not wait for itself: nothing, with a shell that runs nothing."""

    def run(self, step, body):
        """Runs the program once and returns what was seen of it."""
        line, env = self.command_line(step)
        variables = {}
        length = step.get("content_length", str(len(body)))
        if length is not False:
            variables["CONTENT_LENGTH"] = expand(length)
        if step.get("remote_addr", False) is not False:
            variables["REMOTE_ADDR"] = expand(step["remote_addr"])
        if self.through == "cgi":
            env.update(variables)
        self.root.write("/.runner/store", self.store.text().encode())
        self.root.write("/.runner/events", b"")
        self.root.write("/.runner/commands", command_table(step.get("commands", {})))
        seen = {"laid_out": self.root.laid_out, "started": time.time()}
        with Console(self.root.path("/dev/console"), self.openings) as console, contextlib.ExitStack() as stack:
            replies, stdout = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
            stack.enter_context(replies)
            make_room(stdout)
            with stdout:
                process = subprocess.Popen(line, env=env, stdin=subprocess.PIPE, stdout=stdout.fileno(),
                                           stderr=subprocess.PIPE, pass_fds=(), close_fds=True)
            stack.callback(process.wait)
            if self.through == "scgi":
                stack.callback(process.kill)
                request = self.connect(process, variables)
                stack.callback(request.ended.set)
            if self.world.get("queue_full"):
                daemon = threading.Timer(BUSY_FOR, self.queue.relieve)
                stack.callback(daemon.join)
                daemon.start()
            stderr = exchange(process, body, step, console, self.watch.timeout)
            seen["timeout"] = stderr is None
            seen["exit"], seen["stderr"] = self.isolation.end(process.wait(), stderr or b"")
            seen["stdout"] = messages(replies)
            if self.through == "scgi":
                seen["exit"], seen["stdout"] = exit_status(seen["exit"]), seen["stdout"] + request.replies()
            console.read()
            seen["console"], seen["console_opens"] = bytes(console.text), console.opens()
        seen["ended"] = time.time()
        self.wait_for_background(step)
        log = to_text(self.root.path("/.runner/events").read_bytes())
        seen["log"] = [parse_event(line) for line in log.split("\n")[:-1]]
        self.store.apply(seen["log"])
        records, seen["queue_mode"] = self.queue.drain()
        seen["queue"] = [show_record(kind, payload) for kind, payload in records]
        seen["files"] = self.files()
        seen["tool"] = self.watch.report(self.root.path(".runner"), self.world.get("memory"))
        return seen
