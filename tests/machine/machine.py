# SPDX-License-Identifier: MIT
"""The machine: its image, and the emulator that runs it."""

import contextlib
import gzip
import pathlib
import queue
import re
import socket
import subprocess
import tempfile
import threading
import time

PATIENCE = 240  # seconds for what takes a few on a quiet machine
PORTS = {"cgi": 80, "relay": 81, "lua": 82, "stage": 83, "loopback": 84, "static": 85}  # of the machine's web servers
READY = re.compile(r"READY after ([\d.]+) s")
DONE = re.compile(r"DONE (\d+)")


class MachineError(Exception):
    """The machine does not do what it should; the text has the end of its console."""


# ---- the image: what lies in the machine's memory when the kernel starts

FOLDERS = ("bin", "dev", "etc", "etc/config", "lib", "lib/modules", "proc", "sys", "tmp", "var", "var/run", "web", "web/app")
PROGRAMS = {"cgi": "/web/app/app.cgi", "relay": "/bin/app-relay.cgi", "lua": "/bin/app.lua", "static": "/bin/app-static.cgi", "stage": "/bin/stage"}
FIRMWARE_DATE = "2026-11-20"
LUA_PEER = pathlib.Path(__file__).resolve().parents[2] / "bench/peers/app.lua"
OUR_OWN = ("system_daemon", "loopback", "flash", "stage", "stopwatch")


def cpio_entry(name, mode, data, number):
    """A member of an archive as the kernel unpacks it ("newc")."""
    fields = (number, mode, 0, 0, 1, 0, len(data), 0, 0, 0, 0, len(name) + 1, 0)
    head = b"070701" + b"".join(b"%08x" % field for field in fields) + name.encode() + b"\0"
    return head + bytes(-len(head) % 4) + data + bytes(-len(data) % 4)


def cpio(files):
    """An archive of (path, kind, content): "folder", "program", "file", or "link" with what it leads to."""
    modes = {"folder": 0o040755, "program": 0o100755, "file": 0o100644, "link": 0o120777}
    members = [cpio_entry(path, modes[kind], data, number) for number, (path, kind, data) in enumerate(files, 1)]
    return b"".join(members) + cpio_entry("TRAILER!!!", 0, b"", 0)


def stripped(path, strip):
    """A program's bytes as they go into an image."""
    with tempfile.NamedTemporaryFile() as file:
        subprocess.run([strip, "-o", file.name, path], check=True)
        return pathlib.Path(file.name).read_bytes()


def make_image(build, parts, static=True, lua=False):
    """The image's bytes: what the build folder has, and the distribution's parts. The static app.cgi and Lua are peers to compare
    with, which no router has beside the other."""
    cache = (build / "CMakeCache.txt").read_text()
    musl = pathlib.Path(re.search(r"^MUSL_FOLDER:\w+=(.*)$", cache, re.MULTILINE)[1])
    strip = re.search(r"^CMAKE_STRIP:\w+=(.*)$", cache, re.MULTILINE)[1]
    loader = next(musl.glob("lib/ld-musl-*"))
    own = build / "tests/machine"
    programs = {"web/app/app.cgi": build / "app.cgi", "bin/app.scgi": build / "app.scgi", "bin/app-relay.cgi": build / "app-relay.cgi",
                "bin/guest": own / "guest", "lib/libapmib.so": own / "libapmib.so", "lib/libarpcheck.so": own / "libarpcheck.so",
                f"lib/{loader.name}": loader}
    if static:
        programs["bin/app-static.cgi"] = build / "static/app.cgi"
    if lua:
        programs["bin/lua5.4"] = own / "lua"
    files = [(folder, "folder", b"") for folder in FOLDERS]
    files += [(path, "program", stripped(source, strip)) for path, source in programs.items()]
    files += [(f"bin/{name}", "link", b"guest") for name in OUR_OWN]
    files += [("bin/busybox", "program", (parts / "busybox").read_bytes()),
              ("init", "program", (pathlib.Path(__file__).parent / "init").read_bytes()),
              ("etc/fwInfo.file", "file", f"Compile Date: {FIRMWARE_DATE}\n".encode())]
    if lua:
        files += [("bin/app.lua", "program", LUA_PEER.read_bytes())]
    files += [(f"lib/modules/{module.name}", "file", module.read_bytes()) for module in sorted((parts / "modules").iterdir())]
    # Outside of /cgi-bin this web server runs a file by an interpreter, by the ending of its name; the endpoint is its own.
    there = {f"/{path}" for path, *_ in files}
    files += [(f"etc/httpd-{PORTS[name]}.conf", "file", f"*.cgi:{program}\n".encode()) for name, program in PROGRAMS.items() if program in there]
    return gzip.compress(cpio(files), 9, mtime=0)


# ---- the emulator

def free_ports(count):
    with contextlib.ExitStack() as stack:
        probes = [stack.enter_context(socket.socket()) for _ in range(count)]
        for probe in probes:
            probe.bind(("127.0.0.1", 0))
        return [probe.getsockname()[1] for probe in probes]


class Machine:
    """A machine that is on: `with Machine(...) as machine`. `ports` has this PC's port for each of the machine's web servers."""

    def __init__(self, kernel, image, memory, nanoseconds=None, port=None):
        self.ports = dict(zip(PORTS, free_ports(len(PORTS))))
        self.ports["cgi"] = port or self.ports["cgi"]
        network = "user,id=lan,restrict=on,net=192.168.1.0/24,host=192.168.1.100,dns=192.168.1.3" + "".join(
            f",hostfwd=tcp:127.0.0.1:{self.ports[name]}-192.168.1.1:{inside}" for name, inside in PORTS.items())
        # The kernel would move itself to a random place, which may lie behind the end of a small memory.
        self.command = ["qemu-system-mipsel", "-M", "malta", "-cpu", "24Kc", "-m", str(memory), "-display", "none", "-vga", "none",
                        "-monitor", "none", "-serial", "stdio", "-nodefaults", "-no-reboot", "-nic", "none", "-netdev", network,
                        "-device", "pcnet,netdev=lan,romfile=", "-kernel", str(kernel), "-initrd", str(image),
                        "-append", "console=ttyS0 quiet panic=-1 nokaslr"]
        if nanoseconds:  # the machine's clock goes on by the instructions that were executed, and not with the PC's
            # Of its real-time clock, too, by which the kernel finds out how fast its processor is.
            self.command += ["-icount", f"shift={nanoseconds.bit_length() - 1}", "-rtc", "clock=vm"]
        self.lines = queue.Queue()
        self.console = []

    def __enter__(self):
        self.started = time.monotonic()
        # In a session of its own: Ctrl-C is for whoever has it turned off in order.
        self.process = subprocess.Popen(self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        threading.Thread(target=self.listen, daemon=True).start()
        try:
            self.guest_seconds = float(self.wait_for(READY)[0][1])
        except BaseException:
            self.__exit__(None, None, None)
            raise
        self.seconds = time.monotonic() - self.started
        return self

    def __exit__(self, *_):
        with contextlib.suppress(OSError):
            self.process.stdin.close()
        self.process.kill()
        self.process.wait()

    def listen(self):
        for line in self.process.stdout:
            text = line.decode("utf-8", "replace").rstrip()
            self.console.append(text)
            self.lines.put(text)
        self.lines.put(None)

    def wait_for(self, pattern):
        """What was found in a line of the console, and the lines before it."""
        before = []
        deadline = time.monotonic() + PATIENCE
        while True:
            try:
                line = self.lines.get(timeout=max(0.0, deadline - time.monotonic()))
            except queue.Empty:
                line = None
            if line is None:
                raise MachineError("the machine fell silent")
            if found := pattern.search(line):
                return found, before
            before.append(line)

    def run(self, command):
        """Has the machine's shell run it, and returns the lines that it printed. Raises MachineError when it fails."""
        self.process.stdin.write(command.encode() + b"\n")
        self.process.stdin.flush()
        found, lines = self.wait_for(DONE)
        if found[1] != "0":
            raise MachineError(f"{command}: status {found[1]}\n" + "\n".join(lines))
        return [line for line in lines if line != command]  # the terminal echoes it

    def stop(self):
        """Turns it off. Whether it went off by itself."""
        self.process.stdin.write(b"sync; poweroff -f\n")
        self.process.stdin.flush()
        try:
            return self.process.wait(timeout=PATIENCE) == 0
        except subprocess.TimeoutExpired:
            return False
