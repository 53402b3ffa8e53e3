# SPDX-License-Identifier: MIT
"""The mode for where no namespace can be made, as in a plain container.

proot plays a root, a preloaded library the kernel's network, and files stand in the place of /proc. The web server listens at a
socket in the root and is told who the client is. proot itself is no barrier; Landlock, a filter of system calls and limits are, as
far as this kernel has them.
"""

import contextlib
import errno
import os
import secrets
import shutil
import signal
import socket
import subprocess
import time

import confinement
import kernel
import messages
import premises

DEVICES = ("/dev/null", "/dev/zero", "/dev/random", "/dev/urandom")
READABLE = ("/usr", "/bin", "/sbin", "/lib", "/lib32", "/lib64", "/etc/ld.so.cache")
END_SECONDS = 3


class Mode:
    name = "proot"
    own_network = False

    def __init__(self, run, entries):
        self.run = str(run)
        self.entries = entries
        self.queue = None
        self.beside = set()  # process ids of the programs that are not the router's
        self.temporary = os.path.join(self.run, "proot")
        self.loader = os.path.join(self.temporary, "loader")
        self.root = os.path.join(self.run, "root")
        self.outside = os.path.join(self.run, "outside")

    def found(self, bound):
        self.clear_files()
        os.mkdir(self.temporary, 0o700)
        self.keep_loader()
        here, there = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        pid = os.fork()
        if pid == 0:
            here.close()
            try:
                os.setsid()
                kernel.adopt_orphans()
                self.make_queue()
                confinement.close_off_processes()
                messages.send(there, {"ready": True})
            except OSError as error:
                messages.send(there, {"refused": str(error)})
                os._exit(1)
            premises.start_server(there, self)
        there.close()
        bound(pid)  # it starts nothing before it is told to
        message, _ = messages.receive(here)
        if message is None or "refused" in message:
            here.close()
            raise OSError((message or {}).get("refused", "the premises have ended at once"))
        return here

    def keep_loader(self):
        """Keeps the program that proot loads others with, which it would write to /tmp each time. Shows whether proot works here."""
        copy = 'cp /tmp/prooted-"$PPID"-* "$1"'
        run = subprocess.run(["proot", "sh", "-c", copy, "sh", self.loader], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if run.returncode != 0:
            raise OSError(run.stderr.strip() or f"proot: status {run.returncode}")
        os.chmod(self.loader, 0o500)

    def make_queue(self):
        """A queue of a key that nobody else uses."""
        while self.queue is None:
            self.key = secrets.randbits(31) | 1
            with contextlib.suppress(FileExistsError):
                self.queue = kernel.make_queue(self.key, 0o600)
        with open(os.path.join(self.run, "queue"), "w") as file:
            file.write(f"{self.queue}\n")
        self.filter = confinement.proot_filter(self.key, self.queue)

    def clear_away(self):
        """Ends whatever was left running, and removes what outlives processes."""
        deadline = time.monotonic() + END_SECONDS
        while self.kill_children(signal.SIGKILL) and time.monotonic() < deadline:
            os.waitpid(-1, 0)
        if self.queue is not None:
            kernel.remove_queue(self.queue)
        self.clear_files()

    def clear_files(self):
        for name in os.listdir(self.run):
            path = os.path.join(self.run, name)
            if os.path.isdir(path) and not os.path.islink(path):
                shutil.rmtree(path, ignore_errors=True)
            else:
                os.unlink(path)

    def kill_children(self, number, spared=()):
        """Sends a signal to all children, whom orphans are among, but these. False: there are none."""
        children = [pid for pid in kernel.children() if pid not in spared]
        for pid in children:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, number)
        return bool(children)

    def warnings(self):
        """What this mode cannot keep out on this machine."""
        gaps = confinement.landlock_gaps()
        yield (
            "With proot, what a request makes the router run has the rights of whoever started it; kept out are the network, other files and "
            "other processes" + (f", but not {' and '.join(gaps)}" if gaps else "") + "."
        )

    def tcp_socket(self, _network):
        """To a socket in the root: the web server is told who the client is."""
        connection = socket.socket(socket.AF_UNIX)
        root = os.open(self.root, os.O_PATH | os.O_DIRECTORY)
        try:
            server = kernel.open_beneath(root, "var/run/http.sock", os.O_PATH)  # a link that the router made may lead anywhere
        finally:
            os.close(root)
        try:
            connection.connect(f"/proc/self/fd/{server}")
        finally:
            os.close(server)
        return connection.detach()

    def power_on(self, guest, folder, network, texts, flash, tapped):
        os.umask(0o077)
        new = self.root + ".new"
        os.mkdir(new, 0o700)
        texts = {**texts, "etc/kernel-stand-in": f"queue-key {self.key}\n{texts['etc/kernel-stand-in']}"}
        premises.make_root(new, self.entries, texts, flash)
        for device in DEVICES:  # else proot makes a place for them in /tmp
            open(new + device, "x").close()
        if os.path.exists(self.outside):
            os.rmdir(os.path.join(new, "outside"))
            os.rename(self.outside, os.path.join(new, "outside"))
        os.rename(new, self.root)  # whoever writes there finds it whole
        return premises.open_board(self.root, tapped)

    def power_off(self, _guest, reap):
        while self.kill_children(signal.SIGKILL, self.beside):
            reap()
        # What the router finds of the world outside is not gone when it is switched off.
        gone = self.root + ".gone"
        os.rename(self.root, gone)
        outside = os.path.join(gone, "outside")
        if os.path.isdir(outside) and not os.path.islink(outside):
            os.rename(outside, self.outside)
        shutil.rmtree(gone, ignore_errors=True)

    def use(self, _guest):
        return {}

    def fork(self, _guest):
        return os.fork()

    def enter(self, guest, network=None):
        if network is not None:
            raise premises.Refused("there is no network where namespaces cannot be made")
        if guest is None:
            return
        confinement.become_first_victim()
        confinement.limit_resources()
        confinement.close_off_files([self.root], (*READABLE, self.temporary), DEVICES)
        confinement.put_filter_in_force(self.filter)

    def has_program(self, name, environment):
        """Whether a router's program is there. A link's other end counts as there: it may be a path of the router's."""
        folders = [""] if "/" in name else environment["PATH"].split(":")
        paths = [os.path.abspath(os.path.join("/", folder, name)) for folder in folders]
        return any(os.path.lexists(path if path.startswith("/usr/") else self.root + path) for path in paths)

    def command(self, guest, argv, environment):
        if guest is None:
            return argv, environment
        if not self.has_program(argv[0], environment):  # proot would say so at length, with a status of its own
            raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT))
        binds = [f"--bind={path}" for path in ("/usr", *DEVICES)]
        # Found by the PC's path, while the program inside is found by the router's.
        proot = shutil.which("proot")
        return (
            [proot, "--verbose=-1", "--root-id", f"--rootfs={self.root}", "--cwd=/", *binds, *argv],
            {**environment, "PROOT_LOADER": self.loader},
        )
