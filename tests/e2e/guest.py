# SPDX-License-Identifier: MIT
"""A guest on this PC: what an app makes the router run, by the address that "netDig" puts into a shell, stays in the router."""

import contextlib
import ctypes
import json
import os
import pathlib
import re
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading

import calls
import router as routers
from router import look_until
from story import DUT, Teller, get_reply, left_nothing
from ways import AS_NOBODY, IS_ROOT

# What each attack tries, and the commands; "BROKEN" in what they print says that it worked. CANARY is a file of the PC that its owner
# alone may read, PORT a port on which something of the PC listens.
ATTACKS = (
    ("a set-user-id file in the flash memory", "cp /bin/busybox /flash/mib/x && chmod 4755 /flash/mib/x; cp /bin/busybox /flash/x; chmod 6755 /flash/x"),
    ("any file in the flash memory", "echo x > /flash/planted; echo x > /flash/mib/planted; mkdir /flash/folder"),
    ("a link in the flash memory's place of the store", "ln -sf /etc/passwd /flash/mib/settings.mdb.new; ln -s / /flash/mib/root"),
    ("a pipe in the flash memory", "mkfifo /flash/mib/pipe"),
    ("a device node", "mknod /tmp/disk b 254 0 && echo BROKEN; mknod /flash/kmem c 1 2 && echo BROKEN"),
    ("the PC's random numbers", "chmod 600 /dev/random; chmod 600 /dev/urandom; chmod 600 /dev/null; true"),
    ("interrupts", "echo 1 > /proc/irq/default_smp_affinity && echo BROKEN"),
    ("the kernel's settings", "for f in kernel/core_pattern kernel/panic vm/drop_caches kernel/modprobe fs/file-max; do echo 1 > /proc/sys/$f && echo BROKEN; done"),
    ("the system request key", "echo b > /proc/sysrq-trigger && echo BROKEN"),
    ("/sys", "ls /sys/kernel && echo BROKEN; mkdir -p /tmp/s; mount -t sysfs s /tmp/s && echo BROKEN"),
    ("a mount", "mount -t tmpfs x /mnt && echo BROKEN; mkdir -p /tmp/m; mount -t tmpfs x /tmp/m && echo BROKEN; mount -t proc p /tmp/m && echo BROKEN"),
    ("a mount over /usr", "mount -o remount,rw /usr && echo BROKEN; mount --bind /tmp /usr && echo BROKEN"),
    ("the end of a mount", "umount /usr && echo BROKEN; umount -l /proc && echo BROKEN"),
    ("/usr", "touch /usr/planted && echo BROKEN; echo x >> /usr/bin/curl && echo BROKEN; rm /usr/bin/curl && echo BROKEN"),
    ("a way out of the root", "for d in /.. /../../../.. /proc/1/root /proc/1/cwd/../..; do cat $d/CANARY && echo BROKEN; done; chroot /proc/1/root cat CANARY && echo BROKEN"),
    ("another root inside", "mkdir -p /tmp/c/bin; cp /bin/busybox /tmp/c/bin; chroot /tmp/c /bin/busybox true && echo BROKEN"),
    ("a name space of its own", "/usr/bin/unshare -U true && echo BROKEN; /usr/bin/unshare -n true && echo BROKEN; /usr/bin/unshare -m true && echo BROKEN"),
    ("another's name space", "/usr/bin/nsenter -t 1 -n true && echo BROKEN; /usr/bin/nsenter -t 1 -m true && echo BROKEN"),
    ("the PC's files", "cat CANARY && echo BROKEN; cat /etc/shadow && echo BROKEN; ls /root /home /work && echo BROKEN"),
    ("what /proc tells of the PC", "for f in /proc/*; do n=${f#/proc/}; case $n in *[!0-9]*) ;; *) continue;; esac; case ' cpuinfo filesystems loadavg meminfo mounts net self stat sys sysvipc thread-self uptime version ' in *\" $n \"*) continue;; esac; [ $(cat $f $f/* | head -c 1 | wc -c) -eq 0 ] || echo BROKEN; done"),
    ("the PC's processes", "for p in PIDS; do kill -0 $p && echo BROKEN; kill -9 $p && echo BROKEN; done"),
    ("the processes that /proc tells", "grep -l script/server /proc/[0-9]*/cmdline && echo BROKEN; grep -l keeper /proc/[0-9]*/cmdline && echo BROKEN"),
    ("memory of another process", "cat /proc/1/mem > /dev/null && echo BROKEN; head -c 1 /dev/mem && echo BROKEN; head -c 1 /proc/kcore && echo BROKEN"),
    ("the kernel's log", "dmesg | grep -q . && echo BROKEN"),
    ("the host name and the clock", "hostname planted && echo BROKEN; date -s 2001-01-01; [ $(date +%Y) -gt 2001 ] || echo BROKEN"),
    ("a kernel module", "insmod /tmp/x.ko 2>&1 | grep -qi 'exec format\\|invalid module' && echo BROKEN; modprobe dummy && echo BROKEN"),
    ("more rights", "grep -q 'NoNewPrivs:.1' /proc/self/status || echo BROKEN; grep -q 'Seccomp:.2' /proc/self/status || echo BROKEN"),
    ("rights over the PC", "grep CapEff /proc/self/status | grep -q '0000000000[0-9a-f]\\{6\\}$' || echo BROKEN"),
    ("what listens on the PC's loopback", "for a in 127.0.0.1 192.168.1.100 203.0.113.1; do nc -w 1 $a PORT </dev/null | grep -q secret && echo BROKEN; done"),
    ("the PC's network interfaces", "ifconfig -a | grep -q '^e[tn][hsp]0' && echo BROKEN"),
    ("descriptors of the PC", "for d in /proc/self/fd/*; do readlink $d; done | grep -v '^/dev\\|pipe:\\|^/proc\\|socket:' | grep . && echo BROKEN"),
    ("descriptors of the first process", "for d in /proc/1/fd/*; do readlink $d; done | grep -v '^/dev/null$' && echo BROKEN"),
    ("descriptors of all others", "for d in /proc/[0-9]*/fd/*; do [ -e $d/canary ] && echo BROKEN; done"),
    ("variables of the PC", "env | grep -v '^PATH=\\|^PWD=\\|^SHLVL=\\|^CONTENT_\\|^REMOTE_\\|^HTTP\\|^SERVER_\\|^REQUEST_\\|^GATEWAY\\|^SCRIPT_\\|^DOCUMENT\\|^QUERY\\|^REDIRECT\\|^_=' | grep . && echo BROKEN"),
    ("the terminal", "[ -c /dev/tty ] && echo BROKEN; [ -e /dev/pts ] && echo BROKEN; [ -t 0 ] && echo BROKEN; [ -t 2 ] && echo BROKEN"),
    ("limits of its own making", "ulimit -n 1000000 && echo BROKEN; ulimit -v unlimited && echo BROKEN"),
    ("a full /tmp", "dd if=/dev/zero of=/tmp/big bs=1M count=1000 2>/dev/null && echo BROKEN; rm -f /tmp/big"),
    ("files without end", "mkdir /tmp/many; i=0; while [ $i -lt 20000 ]; do echo > /tmp/many/$i || break; i=$((i+1)); done; [ $i -lt 20000 ] || echo BROKEN; rm -r /tmp/many"),
    ("files without end in /outside", "mkdir /outside/many; i=0; while [ $i -lt 2000 ]; do echo > /outside/many/$i || break; i=$((i+1)); done; [ $i -lt 2000 ] || echo BROKEN; rm -r /outside/many"),
    ("an end after the PC's own programs, where memory is short", "[ $(cat /proc/self/oom_score_adj) -eq 1000 ] || echo BROKEN"),
    ("memory without end", "head -c 600000000 /dev/zero | tail -c 600000000 | wc -c | grep -q 600000000 && echo BROKEN"),
    ("the board's reset line by nonsense", "for w in 'keep ../../etc/passwd' 'keep /etc/passwd' 'keep mib/../x' 'keep planted' 'mount x'; do echo \"$w\"; done | while read w; do board $w && echo BROKEN; done"),
    ("the store's file as something else", "rm -rf /flash/leds-off /flash/mib/x /flash/x /flash/planted /flash/folder; ln -s /etc/passwd /flash/leds-off || echo BROKEN; board keep leds-off && echo BROKEN; rm -f /flash/leds-off"),
    ("a store's file without bounds", "cp /flash/mib/settings.mdb /tmp/kept; dd if=/dev/zero of=/flash/mib/settings.mdb bs=1M count=6 2>/dev/null; board keep mib/settings.mdb && echo BROKEN; cp /tmp/kept /flash/mib/settings.mdb"),
    ("a LAN that leads nowhere", "for lan in '127.0.0.1 255.0.0.0' '0.0.0.0 0.0.0.0' '255.255.255.255 255.255.255.255' '224.0.0.1 240.0.0.0' '1.2.3.4 0.0.0.0' '192.168.1.1 255.255.255.0'; do board lan $lan || echo BROKEN; done"),
    ("all that the keeper hears of its files", "/usr/bin/python3 -c 'for i in range(300): open(b\"/outside/\" + b\"\\x80\" * 250 + b\"%d\" % i, \"w\")' && echo 'made'; rm -f /outside/*[0-9]; head -c 1000000 /dev/zero | tr '\\000' '\\200' > /outside/hosts; board lan 192.168.7.1 255.255.255.0 || echo BROKEN; rm /outside/hosts; board lan 192.168.1.1 255.255.255.0 || echo BROKEN"),
    ("rights that were given up", "/usr/bin/setpriv --bounding-set +sys_admin grep CapBnd /proc/self/status | grep -q '0000000000[0-9a-f]\\{6\\}$' || echo BROKEN"),
    ("the web server's own programs", "echo '#!/bin/sh' > /web/app/app.cgi.new; ls -la /web/app | grep -q '^-rws' && echo BROKEN"),
)  # fmt: skip

# By calls that no shell has (calls.py): what each reaches for.
CALLS = {
    "io_uring": "io_uring",
    "bpf": "programs in the kernel",
    "perf": "counters of the kernel's",
    "keys": "the kernel's keys",
    "userfaultfd": "page faults",
    "memory_files": "memory that no limit of a file system counts",
    "trace": "the PC's processes, by tracing",
    "signals": "the PC's processes, by each kind of signal",
    "memory": "memory, files and descriptors of the PC's processes",
    "abstract_sockets": "the PC's sockets without a path",
    "sockets_by_path": "the keeper's socket",
    "shared_memory": "the PC's shared memory and semaphores",
    "queues": "the PC's message queues",
    "typed_input": "input that nobody typed",
    "spaces": "a name space by the newer call",
    "older_calls": "calls of an older architecture",
    "handles": "files by their number",
    "crowd": "all of the board's attention",
    "datagrams": "the PC's sockets of messages",
    "watchers": "the watches of files that the PC's user may have",
    "timers": "the timers that the PC's user may have",
    "leases": "files that others open",
    "limits": "the limits of the PC's processes",
}
# Those that work where nothing keeps them out, for any user of any PC; the others may be kept out by a PC's own settings.
WORK_ANYWHERE = ("memory_files", "trace", "signals", "memory", "abstract_sockets", "shared_memory", "queues", "older_calls", "datagrams", "timers", "limits")
# Those that a router without its filter of system calls lets through: so the tests above can fail.
NEED_THE_FILTER = {True: ("signals", "shared_memory", "queues", "typed_input", "datagrams", "limits"), False: ("keys", "memory_files", "older_calls", "typed_input")}  # by_proot: ...
# What proot does not keep out, as docs/virtual-router.md tells, or what it only pretends to do, so that it says nothing.
NOT_WITH_PROOT = (
    "memory_files", "watchers", "a full /tmp", "files without end", "files without end in /outside", "memory without end",
    "an end after the PC's own programs, where memory is short",
    "a device node", "the system request key", "the host name and the clock", "more rights", "rights over the PC", "rights that were given up",
)  # fmt: skip
IPC_CREAT, IPC_RMID, ANYBODYS = 0o1000, 0, 0o666
UNREAD_BYTES = """
import socket
held, size = [], 0
while size < 640 << 20:
    ends = socket.socketpair()
    held.append(ends)
    ends[0].setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 1 << 30)
    ends[0].setblocking(False)
    try:
        while True:
            size += ends[0].send(bytes(65536))
    except BlockingIOError:
        pass
"""
APP = {"action": "get", "app": {}, "dutInfo": {}}, get_reply(dutInfo=DUT, app={"port": 0, "ticktime": 0})
HELD = "Tt"  # states of a process that another has stopped, or traces
HELD_SECONDS = 2  # after which it is not let go any more


class Pc:
    """What there is of the PC to be reached: processes, shared memory, a queue, sockets."""

    VICTIM = "import ctypes, time; b = ctypes.create_string_buffer(b'secret'); print(ctypes.addressof(b), flush=True); time.sleep(1000)"

    def __init__(self, user):
        """`user`: whose the processes are; None: this one's."""
        self.prefix = AS_NOBODY if user and IS_ROOT else []
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.libc.shmat.restype = ctypes.c_void_p
        self.key = os.getpid() | 0x5E000000
        self.segment = self.libc.shmget(self.key, 64, IPC_CREAT | ANYBODYS)
        self.memory = self.libc.shmat(self.segment, None, 0)
        ctypes.memmove(self.memory, b"secret", 6)
        self.queue = self.libc.msgget(self.key, IPC_CREAT | ANYBODYS)
        self.libc.msgsnd(self.queue, b"\1" + bytes(7) + b"secret", 6, 0)
        self.abstract = f"e2e-{os.getpid()}"
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind("\0" + self.abstract)
        self.listener.listen()
        answer_with_secret(self.listener)
        self.datagrams = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_NONBLOCK)
        self.mailbox = pathlib.Path(f"/dev/shm/e2e-{os.getpid()}-mailbox")
        self.datagrams.bind(str(self.mailbox))
        self.mailbox.chmod(ANYBODYS)
        self.shared = pathlib.Path(f"/dev/shm/e2e-{os.getpid()}")
        self.planted = pathlib.Path(f"{self.shared}-planted")
        self.shared.write_text("secret")
        self.shared.chmod(ANYBODYS)
        self.start_victim()

    def start_victim(self):
        self.victim = subprocess.Popen([*self.prefix, sys.executable, "-c", self.VICTIM], stdout=subprocess.PIPE, text=True, start_new_session=True)
        self.address = int(self.victim.stdout.readline())
        self.victims_state()

    def victims_state(self):
        """The letter of the victim's state once no signal is on its way to it: "S" as it was begun, "Z" when it has ended, or one of HELD."""

        def look():
            status = pathlib.Path(f"/proc/{self.victim.pid}/status").read_text()
            pending = any(int(mask, 16) for mask in re.findall(r"^(?:SigPnd|ShdPnd):\s+(\w+)$", status, re.MULTILINE))
            return re.search(r"^State:\s+(\w)", status, re.MULTILINE)[1], pending

        def settle(states):
            return look_until(lambda seen: seen == ("S", False) or seen[0] in states, look, pause=0.01)[0]

        state = settle("Z" + HELD)
        if state in HELD:
            state = look_until(lambda seen: seen[0] not in HELD, look, seconds=HELD_SECONDS)[0]
        return state if state in HELD else settle("Z" + HELD)

    def targets(self, *processes, paths=()):
        return json.dumps({
            "processes": [self.victim.pid, *processes], "address": self.address, "abstract": self.abstract, "paths": [str(path) for path in paths],
            "segment": [self.key, self.segment], "queue": [self.key, self.queue], "shared": str(self.shared), "planted": str(self.planted),
            "mailbox": str(self.mailbox),
        })  # fmt: skip

    def harm(self):
        """What has become of it, in words; what is hurt is made anew."""
        found = []
        state = self.victims_state()
        if state != "S":
            found.append(f"the victim has ended, or is held: {state}")
            self.victim.kill()
            self.victim.wait()
            self.victim.stdout.close()
            self.start_victim()
        if ctypes.string_at(self.memory, 6) != b"secret":
            found.append("the segment is changed")
            ctypes.memmove(self.memory, b"secret", 6)
        if self.libc.msgget(self.key, 0) != self.queue:
            found.append("the queue is gone")
            self.queue = self.libc.msgget(self.key, IPC_CREAT | ANYBODYS)
        with contextlib.suppress(BlockingIOError):
            while message := self.datagrams.recv(64):
                found.append(f"a message: {message}")
        if self.planted.exists():
            found.append("a file in /dev/shm")
            self.planted.unlink()
        return found

    def attacked(self, name):
        """What an attack does where nothing keeps it out: its words and the harm."""
        run = subprocess.run([*self.prefix, sys.executable, calls.__file__, name, self.targets()], stdin=subprocess.DEVNULL, capture_output=True, text=True)
        return run.stdout, self.harm()

    def close(self):
        self.victim.kill()
        self.victim.wait()
        self.victim.stdout.close()
        self.libc.shmctl(self.segment, IPC_RMID, None)
        self.libc.msgctl(self.queue, IPC_RMID, None)
        self.listener.shutdown(socket.SHUT_RDWR)  # wakes the thread that waits there
        self.listener.close()
        self.datagrams.close()
        for path in (self.shared, self.mailbox):
            path.unlink(missing_ok=True)


class Guest(Teller):
    def attack(self, commands, sign=""):
        """Has the endpoint run the commands as an app can: what became of them, by the reply. Only who prints the sign has tried."""
        verdict = f"case $out in *BROKEN*) echo BROKEN \"$out\";; *{sign}*) echo HELD;; *) echo NOT TRIED \"$out\";; esac"
        script = f"out=$({{\n{commands}\n}} 2>{'&1' if sign else '/dev/null'})\n{verdict}"
        written = self.router.inside("run", "sh", "-c", f"cat > /tmp/attack <<'END'\n{script}\nEND")
        if written != (0, ""):
            return f"not written: {written}"
        status, _, text = self.router.ask(json.dumps({"action": "get", "netDig": {"ping": {"dst": "-h >/dev/null 2>&1; sh /tmp/attack"}}}), loopback=True)
        return text if status == 200 else f"{status} {text}"

    def call(self, name, targets):
        """The same with one of the attacks of calls.py."""
        subprocess.run(
            [*self.router.way.prefix, str(self.router.project / "script/router"), "--state", str(self.router.state), "run", "sh", "-c", "cat > /tmp/calls.py"],
            input=pathlib.Path(calls.__file__).read_text(), text=True, check=True, capture_output=True, timeout=routers.PATIENCE_SECONDS,
        )  # fmt: skip
        return self.attack(f"/usr/bin/python3 /tmp/calls.py {name} '{targets}'", calls.TRIED)

    def answers(self):
        return '"scanRsp"' in self.router.ask('{"action":"scan"}')[2]


def modes():
    return {path: os.stat(path).st_mode for path in ("/dev/null", "/dev/random", "/dev/urandom", "/usr/bin/curl", "/etc/passwd")}


def listen():
    """Something of the PC that listens on its loopback. Returns the socket and its port."""
    listener = socket.create_server(("127.0.0.1", 0))
    answer_with_secret(listener)
    return listener, listener.getsockname()[1]


def answer_with_secret(listener):
    def answer():
        while True:
            try:
                client = listener.accept()[0]
            except OSError:
                return
            with client:
                client.sendall(b"secret\n")

    threading.Thread(target=answer, daemon=True).start()


def strange_files(state):
    """What in the state folder is no file of the router's store, or is not as it must be."""
    found = []
    for path in [state, *state.rglob("*")]:
        if "run" in path.parts[len(state.parts) :]:  # goes with the router
            continue
        status = path.lstat()
        kind, mode = stat.S_IFMT(status.st_mode), stat.S_IMODE(status.st_mode)
        if kind == stat.S_IFDIR and mode & 0o077 and path != state:
            found.append(f"{path}: {mode:o}")
        elif kind == stat.S_IFREG and (mode & 0o7133 or "flash" in path.parts and path.name == "planted"):
            found.append(f"{path}: {mode:o}")
        elif kind not in (stat.S_IFDIR, stat.S_IFREG, stat.S_IFSOCK):
            found.append(f"{path}: type {kind:o}")
    flash = state / "flash"
    known = {"mib", "mib/committed.mdb", "mib/settings.mdb", "leds-off", "wan-taken", "home-taken"}
    found += [f"{path}: not of the store" for path in flash.rglob("*") if str(path.relative_to(flash)) not in known]
    return found


def held(said):
    return "HELD" in said and "BROKEN" not in said


def reach_out(t, pc):
    """The attacks of calls.py."""
    router = t.router
    for name in WORK_ANYWHERE:
        said, harm = pc.attacked(name)
        t.results.check(f"{CALLS[name]}: can be reached where nothing keeps it out", "BROKEN" in said or harm, said)
    targets = pc.targets(router.process.pid, paths=[router.state / "keeper.sock"])
    for name, what in CALLS.items():
        if router.way.by_proot and name in NOT_WITH_PROOT:
            continue
        said, harm = t.call(name, targets), pc.harm()
        t.results.check(f"{what}: stays in the router", held(said) and not harm, f"{said}\n{harm}")
        answers, (status, said) = t.answers(), router.inside("status")
        t.results.check(f"{what}: the router answers", answers and status == 0, f"{answers}, status {status}\n{said}")
        if harm:
            targets = pc.targets(router.process.pid, paths=[router.state / "keeper.sock"])


def attack_by_commands(t, canary, port):
    before = modes()
    for name, commands in ATTACKS:
        if t.router.way.by_proot and name in NOT_WITH_PROOT:
            continue
        for word, value in (("CANARY", canary), ("PORT", port), ("PIDS", f"{os.getpid()} {os.getppid()}")):
            commands = commands.replace(word, str(value))
        said = t.attack(commands)
        t.results.check(f"{name}: stays in the router", held(said), said)
        t.results.check(f"{name}: the PC is as it was, and the router answers", modes() == before and t.answers(), modes())


def starve(t):
    """Memory of the kernel's that is no program's own: who holds it has to end, and nobody else. Without a control group it has no bound."""
    if "no control group can be made" in t.router.output():
        print(f"left out  {t.results.way}: memory of sockets: no control group can be made here", flush=True)
        return
    said = t.attack(f"/usr/bin/python3 -c '{UNREAD_BYTES}' && echo BROKEN")
    t.results.check("memory of sockets: stays in the router", held(said), said)
    t.results.check("memory of sockets: the router answers", t.answers() and t.router.inside("status")[0] == 0)
    told = "router: in trouble: 512 MiB are all the memory there is for its programs together, so that 1 had to end"
    t.results.check("memory of sockets: the trouble is told", t.router.await_output(told), t.router.output())


def weaken(results, way, build, pc):
    """A keeper that puts no filter and no Landlock in force lets some of the attacks through: they are no idle ones."""
    with tempfile.TemporaryDirectory() as folder:
        project = routers.copy_project(folder)
        confinement = project / "virtual_router/keeper/confinement.py"
        confinement.write_text(f"{confinement.read_text()}\n\nput_filter_in_force = close_off_processes = close_off_files = lambda *_: None\n")
        router = routers.Router(way, build, project)
        try:
            if not results.check("a router that is not confined starts", router.start() is not None, router.output()):
                return
            t = Guest(router, results)
            for name in NEED_THE_FILTER[way.by_proot]:
                said, harm = t.call(name, pc.targets()), pc.harm()
                results.check(f"without the filter it reaches {CALLS[name]}", "BROKEN" in said or harm, said)
            router.stop(signal.SIGTERM)
        finally:
            router.remove()


def invade(results, way, build):
    router = routers.Router(way, build)
    canary = pathlib.Path(router.state).parent / "canary"
    listener, port = listen()
    pc = Pc(way.user)
    try:
        # As what starts script/server may have it open.
        handed = os.open(canary.parent, os.O_RDONLY | os.O_DIRECTORY)
        started = router.start(handed=[handed])
        os.close(handed)
        if not results.check("a router for a hostile app starts", started is not None, router.output()):
            return
        canary.write_text("secret\n")
        canary.chmod(0o600)
        t = Guest(router, results)
        if way.by_proot:
            # proot keeps less out, which docs/virtual-router.md tells.
            results.check("it says what it cannot keep out", "has the rights of whoever started it" in router.output(), router.output())
        t.expect("it answers before the attacks", *APP, loopback=True)
        attack_by_commands(t, canary, port)
        strange = strange_files(pathlib.Path(router.state))
        results.check("the state folder holds the store's own files only", not strange, "\n".join(strange))
        reach_out(t, pc)
        starve(t)
        t.expect("and after them", *APP, loopback=True)
        pc.close()  # its processes are no leftovers
        left_nothing(results, "Ctrl-C", router.stop(2), 130)
        pc = Pc(way.user)
        weaken(results, way, build, pc)
    finally:
        pc.close()
        listener.close()
        canary.unlink(missing_ok=True)
        router.remove()
