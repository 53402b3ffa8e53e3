"""The root in which the program under test runs, and one run of it with everything that it did."""

import contextlib
import ctypes
import errno
import os
import pathlib
import re
import selectors
import shutil
import signal
import socket
import stat
import struct
import subprocess
import threading
import time

import caseformat
from caseformat import CaseError, at_second, expand, to_bytes, to_text

libc = ctypes.CDLL(None, use_errno=True)

PROGRAM = "/web/app/app.cgi"
TIMEOUT = {"plain": 10, "sanitize": 30, "valgrind": 90, "target": 60}
TARGETS = {  # name of a device build -> its emulator, where the cross compiler keeps its C library, its byte order
    "mipsel": ("qemu-mipsel-static", "/usr/mipsel-linux-gnu/lib", "little"),
    "mips": ("qemu-mips-static", "/usr/mips-linux-gnu/lib", "big"),
    "armhf": ("qemu-arm-static", "/usr/arm-linux-gnueabihf/lib", "little"),
    "aarch64": ("qemu-aarch64-static", "/usr/aarch64-linux-gnu/lib", "little"),
}
EMULATOR = "/.runner/emulator"
CLONE_NEWNS, CLONE_NEWIPC, CLONE_NEWUSER = 0x20000, 0x8000000, 0x10000000
MS_BIND, MS_REC, MS_PRIVATE = 4096, 16384, 1 << 18
IPC_RMID, IPC_STAT, IPC_NOWAIT, MSG_EXCEPT = 0, 2, 0o4000, 0o20000
IN_OPEN = 0x20
IN_CLOSE_WRITE = 0x8
EVENT_SIZE = 16  # of one without a name
SO_SNDBUFFORCE = 32
VALGRIND_PARTS = ["memcheck-amd64-linux", "vgpreload_core-amd64-linux.so", "vgpreload_memcheck-amd64-linux.so",
                  "default.supp"]
QUEUE_FIELDS = {  # of the record, counted from its 32-bit type: offset, width, text or number
    "url": (4, 128, str), "md5": (132, 33, str), "enable": (229, 1, int), "hour": (230, 1, int),
    "minute": (231, 1, int), "second": (232, 1, int), "week": (233, 1, int), "sysconf": (236, 128, str),
    "interval": (236, 4, int), "count": (240, 4, int), "guid": (244, 40, str),
}
RECORD_SIZE = 364
FILLER = 0x7fff  # the type of a record that only takes up room in the queue
BUSY_FOR = 0.3   # seconds from a request's start in which the daemon reads nothing of a full queue
STATION_SIZE = 63


# ---- rights: a name space where one can be had, else a changed root, else proot

def call(name, *arguments):
    if getattr(libc, name)(*arguments) != 0:
        raise OSError(ctypes.get_errno(), name)


def unshare(flags):
    """Enters name spaces of its own, as an ordinary user through one of users first. False: not to be had."""
    uid, gid = os.geteuid(), os.getegid()
    with contextlib.suppress(OSError):
        call("unshare", flags)
        return True
    with contextlib.suppress(OSError):
        call("unshare", CLONE_NEWUSER | flags)
        pathlib.Path("/proc/self/setgroups").write_text("deny")
        pathlib.Path("/proc/self/uid_map").write_text(f"0 {uid} 1")
        pathlib.Path("/proc/self/gid_map").write_text(f"0 {gid} 1")
        return True
    return False


def in_child(question):
    """The answer that a child process gives: asking changes the process that asks."""
    child = os.fork()
    if child == 0:
        answer = False
        with contextlib.suppress(OSError):
            answer = question()
        os._exit(0 if answer else 1)
    return os.waitpid(child, 0)[1] == 0


def can_chroot():
    return in_child(lambda: os.chroot("/") is None)


def missing_right(mode):
    """What this machine lacks to run cases in `mode`; None if it lacks nothing."""
    spaces = in_child(lambda: unshare(CLONE_NEWIPC | CLONE_NEWNS))
    if mode == "valgrind" and not spaces:
        return "valgrind reads /proc, which takes a mount name space here, and this process may not make one"
    if not spaces and (mode not in ("plain", "target") or not can_chroot()) and shutil.which("proot") is None:
        return "neither a name space nor another root folder may be made, and proot is not installed"
    return None


def shared_objects(binary, own):
    """The libraries that a program needs, its loader too, without those whose names are in `own`."""
    output = subprocess.run(["ldd", binary], check=True, capture_output=True, text=True).stdout
    found = re.findall(r"(\S+)(?: => (\S+))? \(0x", output)
    paths = [path or name for name, path in found]
    return [path for path in paths if path.startswith("/") and pathlib.Path(path).name not in own]


def target_objects(binary, own, folder):
    """The same for another processor: the build machine's loader cannot tell, so the C library's folder is searched."""
    found, pending = {}, [binary]
    while pending:
        output = subprocess.run(["readelf", "-lWd", pending.pop()], check=True, capture_output=True, text=True).stdout
        for name in re.findall(r"\(NEEDED\).*\[(.*)\]|program interpreter: .*/([^/]*)\]", output):
            name = "".join(name)
            if name not in own and name not in found:
                found[name] = pathlib.Path(folder) / name
                pending.append(found[name])
    return found


def debug_file(library):
    """Where Debian keeps the symbols of a stripped library."""
    notes = subprocess.run(["readelf", "-n", library], check=True, capture_output=True, text=True).stdout
    build_id = re.search(r"Build ID: ([0-9a-f]+)", notes)[1]
    return f"/usr/lib/debug/.build-id/{build_id[:2]}/{build_id[2:]}.debug"


class Queue:
    """The system daemon's end of the message queue."""

    def __init__(self, null):
        status = os.stat(null)
        self.key = ctypes.c_int(117 << 24 | (status.st_dev & 0xFF) << 16 | status.st_ino & 0xFFFF)

    def find(self):
        return libc.msgget(self.key, 0)

    def create(self):
        return libc.msgget(self.key, 0o1666)

    def fill(self):
        """Makes the queue, and leaves no room in it."""
        queue = self.create()
        record = FILLER.to_bytes(8, "little") + bytes(RECORD_SIZE - 4)
        while libc.msgsnd(queue, record, RECORD_SIZE - 4, IPC_NOWAIT) == 0:
            pass

    def relieve(self):
        """Takes out what fill() put in."""
        record = ctypes.create_string_buffer(8 + RECORD_SIZE)
        while libc.msgrcv(self.find(), record, RECORD_SIZE, FILLER, IPC_NOWAIT) >= 0:
            pass

    def drain(self):
        """All records as (type, payload bytes), and the queue's mode; the queue is gone afterwards."""
        queue = self.find()
        if queue < 0:
            return [], None
        status = ctypes.create_string_buffer(512)
        libc.msgctl(queue, IPC_STAT, status)
        mode = int.from_bytes(status.raw[20:24], "little") & 0o777  # struct ipc_perm: key, 4 ids, mode
        records = []
        record = ctypes.create_string_buffer(8 + 8192)
        while (size := libc.msgrcv(queue, record, 8192, 0, IPC_NOWAIT)) >= 0:
            records.append((int.from_bytes(record.raw[:8], "little"), record.raw[8:8 + size]))
        libc.msgctl(queue, IPC_RMID, None)
        return records, mode


def show_record(kind, payload):
    """A record as a case lists it: the type, and each run of non-zero bytes with its offset in the record."""
    shown = f"{kind}"
    if len(payload) != RECORD_SIZE - 4:
        shown += f" ({len(payload)} bytes of payload)"
    for match in re.finditer(rb"[^\0]+", payload):
        shown += f" {match.start() + 4}:{match[0]!r}"
    return shown


def expected_record(fields, byteorder):
    payload = bytearray(RECORD_SIZE - 4)
    for name, value in fields.items():
        if name == "type":
            continue
        offset, width, kind = QUEUE_FIELDS[name]
        data = to_bytes(expand(value)) if kind is str else value.to_bytes(width, byteorder)
        payload[offset - 4:offset - 4 + len(data)] = data
    return show_record(fields["type"], bytes(payload))


# ---- the root

class Sandbox:
    """One root for one worker. Made once, brought back to its first state for each case."""

    def __init__(self, folder, binary, tools, items, mode, target=None):
        self.root = pathlib.Path(folder)
        self.tools = pathlib.Path(tools)
        self.items = items
        self.mode = mode
        self.target = target
        self.needs_proc = mode not in ("plain", "target")
        self.own_space = unshare(CLONE_NEWIPC | (CLONE_NEWNS if self.needs_proc else 0))
        self.proot = not can_chroot() or self.needs_proc and not self.own_space
        self.build(pathlib.Path(binary))
        self.base = self.snapshot()
        self.openings = Openings()

    def path(self, inside):
        return self.root / inside.lstrip("/")

    def copy(self, source, inside=None):
        target = self.path(inside or str(source))
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists():
            shutil.copy(source, target)

    def build(self, binary):
        for folder in ("bin", "dev", "etc", "lib", "proc/net", "tmp", "var", ".runner/proc"):
            self.path(folder).mkdir(parents=True)
        self.copy(binary, PROGRAM)
        self.path(PROGRAM).chmod(0o755)
        own = {"libapmib.so", "libarpcheck.so"}
        doubles = self.tools
        if self.target:
            emulator, folder, _ = TARGETS[self.target]
            doubles = binary.parent / "tests" / "runner"
            for name, library in target_objects(binary, own, folder).items():
                self.copy(library, f"/lib/{name}")
            self.copy(shutil.which(emulator), EMULATOR)
        else:
            libraries = shared_objects(binary, own)
            for library in libraries:
                self.copy(library)
        for double in (*own, "libinterfaces.so"):
            self.copy(doubles / double, f"/lib/{double}")
        self.path("/etc/ld.so.preload").write_text("/lib/libinterfaces.so\n")
        self.copy(self.tools / "double_shell", "/.runner/shell")
        self.copy(self.tools / "launch", "/.runner/launch")
        if self.mode == "valgrind":
            for part in VALGRIND_PARTS:
                self.copy(f"/usr/libexec/valgrind/{part}")
            loader = next(path for path in libraries if "ld-linux" in path)
            self.copy(debug_file(os.path.realpath(loader)))
        if self.needs_proc:
            self.path("/proc/self").symlink_to("/.runner/proc/self")
            if not self.proot:
                call("mount", b"none", b"/", None, MS_REC | MS_PRIVATE, None)
                call("mount", b"/proc", bytes(self.path("/.runner/proc")), None, MS_BIND | MS_REC, None)

    def walk(self):
        """Every path of the root with its status, the runner's own folder left out."""
        root = str(self.root)
        own = f"{root}/.runner"
        pending = [root]
        while pending:
            with os.scandir(pending.pop()) as entries:
                for entry in entries:
                    if entry.path == own:
                        continue
                    status = entry.stat(follow_symlinks=False)
                    yield entry.path[len(root):], status
                    if stat.S_ISDIR(status.st_mode):
                        pending.append(entry.path)

    def snapshot(self):
        return {path: identity(status) for path, status in self.walk()}

    def reset(self):
        """Removes all that is not the base's. Raises if the base itself was changed."""
        for path, status in sorted(self.walk(), reverse=True):
            if path in self.base:
                if identity(status) != self.base[path]:
                    raise CaseError(f"the program changed {path}")
            elif stat.S_ISDIR(status.st_mode):
                self.path(path).rmdir()
            else:
                self.path(path).unlink()
        for left in self.path(".runner").glob("*.log*"):
            left.unlink()

    def prepare(self, world):
        """Lays out a case's world."""
        self.reset()
        self.store = Store(world, self.items)
        self.console = None
        self.laid_out = int(time.time())
        for path, content in {"/dev/null": "", "/dev/console": {"type": "fifo"}, **world.get("files", {})}.items():
            self.put(path, content)
        if world.get("shell", True):
            os.link(self.path("/.runner/shell"), self.path("/bin/sh"))
        self.path("/.runner/arp").write_text("\n".join(expand(line) for line in world.get("arp", [])))
        self.put_stations(world.get("stations", {}))
        self.queue = Queue(self.path("/dev/null"))
        while self.queue.find() >= 0:  # a key of somebody else: another inode gives another key
            if self.own_space:
                self.queue.drain()
                continue
            spare = self.path("/dev/null.new")
            spare.touch()
            spare.rename(self.path("/dev/null"))
            self.queue = Queue(self.path("/dev/null"))
        if world.get("queue_exists"):
            self.queue.create()
        if world.get("queue_full"):
            self.queue.fill()
        self.world = world

    def put(self, path, content):
        """Content: a text, false for no file, or {type = "folder" | "socket" | "fifo"}."""
        target = self.path(path)
        if content is False:
            return
        target.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(content, str):
            target.write_bytes(to_bytes(at_second(expand(content), self.laid_out)))
        elif content == {"type": "folder"}:
            target.mkdir()
        elif content == {"type": "fifo"}:
            os.mkfifo(target)
        elif content == {"type": "socket"}:  # it is there, and cannot be opened, not even by root
            os.mknod(target, stat.S_IFSOCK | 0o666)
        else:
            raise CaseError(f"{path}: what is {content}?")

    def put_stations(self, interfaces):
        """Interface -> the Wi-Fi driver's answer: rows of a table, a text as it stands, or false where it refuses."""
        folder = self.path("/.runner/wireless")
        shutil.rmtree(folder, ignore_errors=True)
        for name, answer in interfaces.items():
            (folder / name).mkdir(parents=True)
            if answer is not False:
                data = to_bytes(expand(answer)) if isinstance(answer, str) else station_table(answer)
                (folder / name / "stations").write_bytes(data)

    def files(self):
        """All files that are not the base's: path -> content, or the type of what is no file."""
        found = {}
        for path, status in self.walk():
            if path in self.base and identity(status) == self.base[path]:
                continue
            if stat.S_ISREG(status.st_mode):
                found[path] = self.path(path).read_bytes() if path != "/bin/sh" else b"the double"
            elif stat.S_ISLNK(status.st_mode) and re.fullmatch(r"/proc/\d+", path):
                self.path(path).unlink()
            elif not stat.S_ISDIR(status.st_mode) or not any(self.path(path).iterdir()):
                found[path] = f"type {stat.S_IFMT(status.st_mode):o}".encode()
        return found

    # ---- one request

    def command_line(self, step):
        """The launcher's arguments and the environment of a step."""
        line, env = [], dict(step.get("env", {}))
        if self.proot:
            binds = ["-b", "/proc:/.runner/proc"] if self.needs_proc else []
            line += ["proot", "-r", str(self.root), "-w", "/", *binds, "/.runner/launch"]
            env["PROOT_TMP_DIR"] = str(self.root / ".runner")
        else:
            line += [str(self.tools / "launch"), "-r", str(self.root)]
        line += ["-w", str(pathlib.Path(PROGRAM).parent)]
        if self.needs_proc:
            line.append("-p")
        memory = self.world.get("memory")
        if memory and self.mode == "plain":
            line += ["-m", str(memory)]
        for name, error in self.world.get("fail_syscalls", {}).items():
            line += ["-f", f"{name}={getattr(errno, error)}"]
        if self.mode == "sanitize":
            env["ASAN_OPTIONS"] = ("allocator_may_return_null=1:exitcode=99:log_path=/.runner/sanitizer.log:"
                                   "detect_stack_use_after_return=1:strict_string_checks=1:verify_asan_link_order=0:"
                                   "detect_leaks="
                                   + ("0" if self.proot else "1")  # the leak check cannot run beside proot's tracing
                                   + (f":max_allocation_size_mb={memory >> 20}" if memory else ""))
            env["UBSAN_OPTIONS"] = "print_stacktrace=1:log_path=/.runner/sanitizer.log"
        if self.mode == "valgrind":
            line += [f"/usr/libexec/valgrind/{VALGRIND_PARTS[0]}", "-q", "--vgdb=no", "--read-inline-info=no", "--leak-check=full",
                     "--show-leak-kinds=all", "--errors-for-leak-kinds=all", "--error-exitcode=98",
                     "--log-file=/.runner/valgrind.log"]
            env |= {"VALGRIND_LIB": "/usr/libexec/valgrind", "VALGRIND_LAUNCHER": "/usr/bin/valgrind.bin"}
        if self.target:
            line.append(EMULATOR)
        return line + [PROGRAM, *map(expand, step.get("args", []))], env

    def run(self, step, body):
        """Runs the program once and returns what was seen of it."""
        line, env = self.command_line(step)
        length = step.get("content_length", str(len(body)))
        if length is not False:
            env["CONTENT_LENGTH"] = expand(length)
        if step.get("remote_addr", False) is not False:
            env["REMOTE_ADDR"] = expand(step["remote_addr"])
        self.path("/.runner/store").write_text(self.store.text())
        self.path("/.runner/events").write_bytes(b"")
        self.path("/.runner/commands").write_bytes(command_table(step.get("commands", {})))
        seen = {"laid_out": self.laid_out, "started": time.time()}
        with Console(self.path("/dev/console"), self.openings) as console, contextlib.ExitStack() as stack:
            replies, stdout = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
            stack.enter_context(replies)
            make_room(stdout)
            with stdout:
                process = subprocess.Popen(line, env=env, stdin=subprocess.PIPE, stdout=stdout.fileno(),
                                           stderr=subprocess.PIPE, pass_fds=(), close_fds=True)
            stack.callback(process.wait)
            if self.world.get("queue_full"):
                daemon = threading.Timer(BUSY_FOR, self.queue.relieve)
                stack.callback(daemon.join)
                daemon.start()
            stderr = exchange(process, body, step, console, TIMEOUT[self.mode])
            seen["timeout"] = stderr is None
            seen["stderr"] = b"" if stderr is None else stderr
            seen["exit"] = process.wait()
            seen["stdout"] = messages(replies)
            console.read()
            seen["console"], seen["console_opens"] = bytes(console.text), console.opens()
        seen["ended"] = time.time()
        seen["log"] = self.path("/.runner/events").read_text().splitlines()
        self.store.apply(seen["log"])
        records, seen["queue_mode"] = self.queue.drain()
        seen["queue"] = [show_record(kind, payload) for kind, payload in records]
        seen["files"] = self.files()
        seen["tool"] = self.tool_report()
        return seen

    def tool_report(self):
        """What valgrind or a sanitizer had to say; an allocation refused on a case's order is no finding."""
        report = ""
        for log in sorted(self.path(".runner").glob("*.log*")):
            text = log.read_text(errors="replace")
            log.unlink()
            if self.world.get("memory"):
                text = re.sub(r"==\d+==WARNING: AddressSanitizer failed to allocate.*\n", "", text)
            report += text
        return report


def identity(status):
    """What stays the same while nobody touches a file; a folder's times change with its entries."""
    if stat.S_ISDIR(status.st_mode):
        return status.st_mode, status.st_ino
    return status.st_mode, status.st_ino, status.st_size, status.st_mtime_ns


def make_room(stdout):
    """Lets a whole reply wait unread in the socket, so that a commit can be seen to come after it."""
    try:
        stdout.setsockopt(socket.SOL_SOCKET, SO_SNDBUFFORCE, 8 << 20)
    except OSError:
        stdout.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 8 << 20)


def messages(replies):
    """Each write to standard output as one text."""
    found = []
    while message := replies.recv(16 << 20):
        found.append(message)
    return found


class Console:
    """The console device: a pipe that is read all the time; every opening is counted."""

    def __init__(self, path, openings):
        self.text = bytearray()
        self.pipe = None
        self.openings = openings
        if path.is_fifo():
            self.pipe = os.open(path, os.O_RDWR | os.O_NONBLOCK)
            openings.begin(path)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.pipe is not None:
            os.close(self.pipe)
            self.openings.end()

    def read(self):
        with contextlib.suppress(BlockingIOError):
            while self.pipe is not None and (data := os.read(self.pipe, 65536)):
                self.text += data

    def opens(self):
        return self.openings.count() if self.pipe is not None else 0


class Openings:
    """How often a file is opened. One watch serves all cases, one after another: closing it takes the kernel milliseconds."""

    def __init__(self):
        self.watch = libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)

    def begin(self, path):
        self.events()  # the last file's end
        self.file = libc.inotify_add_watch(self.watch, bytes(path), IN_OPEN | IN_CLOSE_WRITE)  # with the closings: they
        if self.file < 0:                                                                      # keep two openings two events
            raise OSError(ctypes.get_errno(), "inotify")

    def events(self):
        """What was seen since the last call, as (file, mask)."""
        seen = []
        with contextlib.suppress(BlockingIOError):
            while True:
                data = os.read(self.watch, 65536)
                seen += [struct.unpack_from("=iI", data, at) for at in range(0, len(data), EVENT_SIZE)]
        return seen

    def count(self):
        return sum(file == self.file and mask & IN_OPEN != 0 for file, mask in self.events())

    def end(self):
        libc.inotify_rm_watch(self.watch, self.file)


def exchange(process, body, step, console, timeout):
    """Gives the body, reads the console and standard error until the program has ended. None: it did not end."""
    deadline = time.monotonic() + timeout
    keep_open = step.get("stdin", "close") == "open"
    size = max(1, -(-len(body) // step.get("pieces", 1)))
    pieces = [body[at:at + size] for at in range(0, len(body), size)]
    stderr = b""
    ended = os.pidfd_open(process.pid)
    with selectors.DefaultSelector() as selector:
        selector.register(ended, selectors.EVENT_READ, "ended")
        selector.register(process.stderr, selectors.EVENT_READ, "stderr")
        if console.pipe is not None:
            selector.register(console.pipe, selectors.EVENT_READ, "console")
        os.set_blocking(process.stdin.fileno(), False)
        selector.register(process.stdin, selectors.EVENT_WRITE, "stdin")
        open_ends = {"ended", "stderr"}
        while open_ends:
            events = selector.select(deadline - time.monotonic())
            if not events and time.monotonic() > deadline:
                process.send_signal(signal.SIGKILL)
                process.stdin.close()
                os.close(ended)
                return None
            for key, _ in events:
                if key.data == "console":
                    console.read()
                elif key.data == "ended":
                    selector.unregister(ended)
                    open_ends.discard("ended")
                elif key.data == "stderr":
                    data = os.read(process.stderr.fileno(), 65536)
                    stderr += data
                    if not data:
                        selector.unregister(process.stderr)
                        open_ends.discard("stderr")
                elif not give(process.stdin, pieces, step):
                    selector.unregister(process.stdin)
                    if not keep_open:
                        process.stdin.close()
    os.close(ended)
    with contextlib.suppress(OSError):
        process.stdin.close()
    process.stderr.close()
    return stderr


def give(stdin, pieces, step):
    """Writes the next of the body. False: there is no more, or nobody wants it."""
    if not pieces:
        return False
    try:
        written = os.write(stdin.fileno(), pieces[0])
    except BlockingIOError:
        return True
    except BrokenPipeError:
        return False
    pieces[0] = pieces[0][written:]
    if not pieces[0]:
        pieces.pop(0)
        if pieces and "pieces" in step:
            time.sleep(0.005)  # so that the next piece is a read of its own
    return bool(pieces)


def command_table(commands):
    """The shell double's answers: command -> output text, or {output, status, remove}."""
    table = b""
    for command, answer in commands.items():
        answer = {"output": answer} if isinstance(answer, str) else answer
        unknown = set(answer) - {"output", "status", "remove"}
        if unknown:
            raise CaseError(f"{command}: unknown keys: {', '.join(unknown)}")
        parts = [to_bytes(expand(text)) for text in (command, answer.get("output", ""), answer.get("remove", ""))]
        head = f"{len(parts[0])} {answer.get('status', 0)} {len(parts[1])} {len(parts[2])}\n"
        table += head.encode() + b"".join(parts)
    return table


def station_table(rows):
    """The Wi-Fi driver's answer: a record that does not count, then one for each row.

    A row is "AID MAC FLAGS TX SIGNAL MODE RATE RX", numbers as in C, or "-" for an empty slot. Bytes that tell nothing
    are 0xEE, so that whoever takes them for something is seen.
    """
    table = b"\xee" * STATION_SIZE
    for row in (line for text in rows for line in expand(text).splitlines()):
        record = bytearray(b"\0\0" + b"\xee" * (STATION_SIZE - 2))
        if row != "-":
            aid, mac, *numbers = row.split()
            record[0:2] = int(aid, 0).to_bytes(2, "little")
            record[2:8] = bytes.fromhex(mac.replace(":", ""))
            for offset, number in zip((20, 22, 23, 52, 53, 54), numbers, strict=True):
                record[offset] = int(number, 0)
        if len(record) != STATION_SIZE:
            raise CaseError(f"what MAC is that? {row}")
        table += record
    return table


class Store:
    """The store of a case, carried over from request to request."""

    def __init__(self, world, items):
        self.items = items
        self.values = {}   # (item id, interface or None) -> bytes, None when reading fails
        self.tables = {}   # (count item id, interface or None) -> records, None for one that cannot be read
        for item in items.by_name.values():
            for interface in item["interfaces"]:
                if "record" in item:
                    self.tables[item["id"], interface] = []
                self.values[item["id"], interface] = bytes(item["width"]) if "record" in item else None
        for name, value in sorted(world.get("store", {}).items()):  # "ITEM" for all interfaces, then "ITEM@W.V"
            for item, interface in self.places(name):
                if "record" in item:
                    self.tables[item["id"], interface] = [self.record(item, text) for text in value]
                else:
                    self.values[item["id"], interface] = items.encode(item, value)
        for name in world.get("unset", []):
            for item, interface in self.places(name):
                self.values[item["id"], interface] = None
        self.failures = [f"fail {self.failure(text)}" for text in world.get("fail", [])]

    def places(self, name):
        """What a case names: an item with each of its interfaces, or with the one behind "@"."""
        item, interface = self.items.find(name)
        return [(item, interface)] if interface else [(item, each) for each in item["interfaces"]]

    @staticmethod
    def record(item, text):
        """The bytes of a record, zeros at its end left out; None for "-", a record that cannot be read."""
        data = None if text == "-" else bytes.fromhex(expand(text)).ljust(item["record"], b"\0")
        if data is not None and len(data) != item["record"]:
            raise CaseError(f"{item['name']}: a record of {len(data)} bytes")
        return data

    # What a case can let fail: the double's word for the call, and for calls on an item what to add to its number.
    FAILURES = {"init": ("init", None), "update": ("update", None), "save": ("save", None), "get": ("get", 0),
                "set": ("set", 0), "entry": ("get", 0x8001), "add": ("set", 0x10002), "delete": ("set", 0x20003),
                "delete all": ("set", 0x40004)}

    def failure(self, text):
        call_name, name = (text, "") if text in self.FAILURES else text.rpartition(" ")[::2]
        if call_name not in self.FAILURES or (self.FAILURES[call_name][1] is None) == bool(name):
            raise CaseError(f"what fails? {text}")
        word, offset = self.FAILURES[call_name]
        if not name:
            return word
        item, interface = self.items.find(name)
        return f"{word} {item['id'] + offset}" + (f"@{interface}" if interface else "")

    def text(self):
        lines = list(self.failures)
        for (number, interface), value in self.values.items():
            where = f"{number}@{interface}" if interface else f"{number}"
            width = self.items.by_id[number]["width"]
            lines.append(f"item {where} {width} {'-' if value is None else value.hex()}")
        for (number, interface), records in self.tables.items():
            where = f"{number}@{interface}" if interface else f"{number}"
            item = self.items.by_id[number]
            shown = ["-" if record is None else record.hex() for record in records]
            lines.append(" ".join([f"table {where} {item['record']} {item['key']}", *shown]))
        return "\n".join(lines) + "\n"

    def apply(self, log):
        """What the program wrote is what its next request reads."""
        for line in log:
            words = line.split()
            if words[0] != "set" or words[2] != "ok":
                continue
            number, _, interface = words[1].partition("@")
            data = bytes.fromhex(words[3]) if len(words) > 3 else b""
            if int(number) in self.items.by_id:
                self.values[int(number), interface or None] = data
                continue
            prefix, item = self.items.table_call(int(number))
            records = self.tables[item["id"], interface or None]
            if prefix == "add ":
                records.append(data)
            elif prefix == "delete ":
                keys = [record and record[:item["key"]] for record in records]
                del records[keys.index(data[:item["key"]])]
            else:
                records.clear()
