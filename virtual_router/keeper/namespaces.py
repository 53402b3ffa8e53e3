# SPDX-License-Identifier: MIT
"""The mode in which the kernel supplies addresses, routes, the ARP table, pings and the queue.

The premises have a user namespace, a mount namespace in which the PC's files are read-only, a process namespace whose end is the
end of everything, and any number of networks. Each router in them has a mount, process, queue and host name space of its own: its
root is a file system in memory, and nothing else of the PC is there but /usr, for reading.

In the user namespace root is whoever started script/server or, where that was root, a user whom nobody else is.
"""

import os
import pathlib
import signal
import socket
import subprocess

import confinement
import kernel
import messages
import network as network_names
import premises

# A number that no user of a PC has.
NOBODY_ELSE = 709_400_000

# Where the premises have a file system in memory. Any folder does that whoever the user is can reach; nobody else sees it.
RUN = "/mnt"

DEVICES = ("null", "zero", "random", "urandom")
# What /proc shows beside processes: the router's network and queue, and of the PC what any program may ask its kernel.
SHOWN = ("cpuinfo", "filesystems", "loadavg", "meminfo", "mounts", "net", "self", "stat", "sys", "sysvipc", "thread-self", "uptime", "version")
NAMESPACES = {"pid": kernel.CLONE_NEWPID, "mnt": kernel.CLONE_NEWNS, "ipc": kernel.CLONE_NEWIPC, "uts": kernel.CLONE_NEWUTS}
OUTSIDE = "outside"  # of the folder RUN
FIRST_PROCESS = ["init", "infinity"]  # of a router: the others' end, and the parent of whom nobody else is


class Guest:
    def __init__(self, folder, network):
        self.folder = folder
        self.root = os.path.join(folder, "root")
        self.network = network
        self.first = None  # process id
        self.spaces = {}  # kind -> descriptor


class Mode:
    name = "namespaces"
    own_network = True

    def __init__(self, _run, entries):
        self.run = RUN
        self.entries = entries
        self.guests = {}
        self.beside = set()  # process ids of the programs that are no router's
        self.filter = confinement.namespaces_filter()
        self.last_capability = kernel.last_capability()

    # --- in the keeper's process, and in the one that it makes the premises of ---

    def found(self, bound):
        """Makes the premises. Returns the keeper's end of the socket to them; raises OSError where they cannot be made. `bound` is called
        with the process of which all others come."""
        here, there = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        builder = os.fork()
        if builder == 0:
            try:
                here.close()
                self.build(there)
            except BaseException as error:
                messages.send(there, {"refused": str(error)})
            finally:
                os._exit(1)
        there.close()
        bound(builder)  # it waits for its users before it starts anything
        message, _ = messages.receive(here)  # it has a user namespace, or says why not
        if message is not None and "refused" not in message:
            self.map_users(builder)
            messages.send(here, {})
            message, _ = messages.receive(here)  # it is ready, or says why not
        os.waitpid(builder, 0)
        if message is None or "refused" in message:
            here.close()
            raise OSError((message or {}).get("refused", "the premises have ended at once"))
        return here

    def map_users(self, builder):
        by_root = os.geteuid() == 0
        if not by_root:
            pathlib.Path(f"/proc/{builder}/setgroups").write_text("deny")
        for kind, own in (("uid", os.geteuid()), ("gid", os.getegid())):
            outside = NOBODY_ELSE if by_root else own
            pathlib.Path(f"/proc/{builder}/{kind}_map").write_text(f"0 {outside} 1\n")

    def build(self, connection):
        if os.geteuid() == 0:
            os.setgroups([])
        try:
            kernel.unshare(kernel.CLONE_NEWUSER)
        except PermissionError:
            if os.geteuid() != 0:
                raise
            kernel.make_chroot_a_root()
            kernel.unshare(kernel.CLONE_NEWUSER)
        messages.send(connection, {})
        messages.receive(connection)  # the users are mapped
        os.setresgid(0, 0, 0)
        os.setresuid(0, 0, 0)
        kernel.unshare(kernel.CLONE_NEWNS | kernel.CLONE_NEWPID | kernel.CLONE_NEWNET | kernel.CLONE_NEWIPC | kernel.CLONE_NEWUTS)
        if os.fork() != 0:
            os._exit(0)
        kernel.set_dumpable(False)
        try:
            self.furnish()
        except (OSError, premises.Refused) as error:
            messages.send(connection, {"refused": str(error)})
            os._exit(1)
        messages.send(connection, {"ready": True})
        premises.start_server(connection, self)

    # --- in the premises ---

    def furnish(self):
        os.chdir("/")
        kernel.mount(None, "/", None, kernel.MS_REC | kernel.MS_PRIVATE)
        kernel.restrict_mount("/", kernel.ATTR_RDONLY, recursive=True)
        kernel.mount("proc", "/proc", "proc", kernel.MS_NOSUID | kernel.MS_NODEV | kernel.MS_NOEXEC)
        flags = kernel.MS_NOSUID | kernel.MS_NODEV
        kernel.mount("premises", self.run, "tmpfs", flags, f"mode=700,size={confinement.ROOT_BYTES}")
        os.mkdir(os.path.join(self.run, "networks"))
        self.own_network_space = os.open("/proc/self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
        self.own_process_space = os.open("/proc/self/ns/pid", os.O_RDONLY | os.O_CLOEXEC)
        # A kernel without these has no router.
        refusal = self.ip(None, "link set lo up\nlink add br0 type bridge\nlink add eth1 type veth peer name isp\n")
        if refusal:
            raise premises.Refused(refusal)
        kernel.set_hostname("premises")
        for what, most in (("user_namespaces", 0), ("inotify_instances", confinement.MOST_WATCHERS), ("inotify_watches", confinement.MOST_WATCHES)):
            with open(f"/proc/sys/user/max_{what}", "w") as file:
                file.write(str(most))

    def clear_away(self):
        pass  # the kernel does, when this process ends

    def network_path(self, name):
        return os.path.join(self.run, "networks", name)

    def in_child(self, work):
        """Does work in a process of its own. Raises Refused when it fails."""
        told, tell = os.pipe2(os.O_CLOEXEC)
        pid = os.fork()
        if pid == 0:
            try:
                work()
                os._exit(0)
            except BaseException as error:
                os.write(tell, str(error).encode())
            finally:
                os._exit(1)
        os.close(tell)
        with os.fdopen(told, "rb") as file:
            refusal = file.read().decode()
        status = os.waitpid(pid, 0)[1]
        if status != 0:
            raise premises.Refused(refusal or f"status {status}")

    def add_network(self, name):
        path = self.network_path(name)
        os.close(os.open(path, os.O_CREAT | os.O_RDONLY, 0o600))

        def make():
            kernel.unshare(kernel.CLONE_NEWNET)
            kernel.mount("/proc/self/ns/net", path, None, kernel.MS_BIND)

        self.in_child(make)

    def drop_network(self, name):
        kernel.unmount(self.network_path(name))
        os.unlink(self.network_path(name))

    def visit(self, network):
        """Moves this process into a network; None: the premises' own."""
        if network is None:
            kernel.setns(self.own_network_space, kernel.CLONE_NEWNET)
            return
        fd = os.open(self.network_path(network), os.O_RDONLY | os.O_CLOEXEC)
        kernel.setns(fd, kernel.CLONE_NEWNET)
        os.close(fd)

    def ip(self, network, lines, force=False):
        """Has these lines of ip carried out. "@NAME" in them is that network. Returns what it complains of."""
        lines = lines.replace("@", self.network_path(""))
        self.visit(network)
        try:
            run = subprocess.run(
                ["ip", *(["-force"] if force else []), "-batch", "-"],
                input=lines, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, cwd="/", restore_signals=False,
            )  # fmt: skip
        finally:
            self.visit(None)
        return run.stderr.strip() or ("" if run.returncode == 0 else f"ip: status {run.returncode}")

    def forward_packets(self, network):
        self.visit(network)
        try:
            with open("/proc/sys/net/ipv4/ip_forward", "w") as file:
                file.write("1")
        finally:
            self.visit(None)

    def tcp_socket(self, network):
        self.visit(network)
        try:
            return socket.socket(socket.AF_INET, socket.SOCK_STREAM).detach()
        finally:
            self.visit(None)

    def power_on(self, guest, folder, network, texts, flash, tapped):
        found = Guest(os.path.join(self.run, folder), network)
        os.makedirs(found.root, 0o700, exist_ok=True)
        limits = f"mode=755,size={confinement.ROOT_BYTES},nr_inodes={confinement.ROOT_FILES}"
        kernel.mount("router", found.root, "tmpfs", kernel.MS_NOSUID | kernel.MS_NODEV, limits)
        self.guests[guest] = found
        os.umask(0o022)
        premises.make_root(found.root, self.entries, texts, flash)
        kernel.mount("/usr", os.path.join(found.root, "usr"), None, kernel.MS_BIND | kernel.MS_REC)
        kernel.restrict_mount(os.path.join(found.root, "usr"), kernel.ATTR_RDONLY | kernel.ATTR_NOSUID | kernel.ATTR_NODEV, recursive=True)
        for device in DEVICES:
            path = os.path.join(found.root, "dev", device)
            os.close(os.open(path, os.O_CREAT | os.O_RDONLY, 0o600))
            kernel.mount(f"/dev/{device}", path, None, kernel.MS_BIND)
            kernel.restrict_mount(path, kernel.ATTR_RDONLY | kernel.ATTR_NOSUID | kernel.ATTR_NOEXEC)
        if guest == network_names.ROUTER:
            self.mount_outside(found.root)
        served = premises.open_board(found.root, tapped)
        self.start_first_process(found, guest)
        return served

    def mount_outside(self, root):
        """What the router finds of the world outside is not gone when it is switched off."""
        outside = os.path.join(self.run, OUTSIDE)
        if not os.path.exists(outside):
            os.mkdir(outside)
            flags = kernel.MS_NOSUID | kernel.MS_NODEV | kernel.MS_NOEXEC
            kernel.mount("outside", outside, "tmpfs", flags, f"mode=755,size={confinement.OUTSIDE_BYTES},nr_inodes={confinement.OUTSIDE_FILES}")
        kernel.mount(outside, os.path.join(root, "outside"), None, kernel.MS_BIND)

    def use(self, guest):
        """All routers' processes count together, with the premises' own."""

        def room(folder, where):
            found = os.statvfs(folder)
            return {
                f"MiB of memory for files{where}": ((found.f_blocks - found.f_bfree) * found.f_frsize >> 20, found.f_blocks * found.f_frsize >> 20),
                f"files{where}": (found.f_files - found.f_ffree, found.f_files),
            }

        return {
            **room(self.guests[guest].root, ""),
            **(room(os.path.join(self.run, OUTSIDE), " in /outside") if guest == network_names.ROUTER else {}),
            "processes": (sum(name.isdigit() for name in os.listdir("/proc")), confinement.MOST_PROCESSES),
        }

    def start_first_process(self, found, name):
        told, tell = os.pipe2(os.O_CLOEXEC)
        between = os.fork()
        if between == 0:
            try:
                self.visit(found.network)
                kernel.unshare(kernel.CLONE_NEWNS | kernel.CLONE_NEWIPC | kernel.CLONE_NEWUTS | kernel.CLONE_NEWPID)
                first = os.fork()
                if first == 0:
                    self.be_first(found, name, tell)
                os.write(tell, f"{first}\n".encode())
            except BaseException as error:
                os.write(tell, f"the router's first process: {error}\n".encode())
            finally:
                os._exit(0)
        os.close(tell)
        os.waitpid(between, 0)
        with os.fdopen(told, "r") as file:
            lines = file.read().splitlines()  # ends when it has become its program
        if len(lines) != 1 or not lines[0].isdigit():
            raise premises.Refused("; ".join(line for line in lines if not line.isdigit()) or "it has ended at once")
        found.first = int(lines[0])
        for kind in NAMESPACES:
            found.spaces[kind] = os.open(f"/proc/{found.first}/ns/{kind}", os.O_RDONLY | os.O_CLOEXEC)

    def be_first(self, found, name, tell):
        """Becomes the router's first process, which has no descriptor that leads out of it: others of the router see them in /proc."""
        kernel.set_hostname("router" if name == "router" else name.replace(" ", ""))
        os.chdir(found.root)
        kernel.mount("proc", "proc", "proc", kernel.MS_NOSUID | kernel.MS_NODEV | kernel.MS_NOEXEC)
        self.hide_the_machine()
        kernel.pivot_root(".", ".")
        kernel.unmount(".")
        os.chdir("/")
        signal.signal(signal.SIGCHLD, signal.SIG_IGN)  # nobody waits for orphans: the kernel reaps them
        null = os.open("/dev/null", os.O_RDWR)
        for fd in range(3):
            os.dup2(null, fd)
        os.closerange(3, tell)
        os.closerange(tell + 1, 1 << 16)
        confinement.limit_resources()
        kernel.keep_capabilities((), self.last_capability)
        confinement.put_filter_in_force(self.filter)
        os.execve("/usr/bin/sleep", FIRST_PROCESS, {})

    def hide_the_machine(self):
        """Whatever a kernel has in /proc, only SHOWN and processes are left, for reading. Links lead nowhere else."""
        with os.scandir("proc") as entries:
            hidden = [entry for entry in entries if not (entry.name.isdigit() or entry.name in SHOWN or entry.is_symlink())]
        for entry in hidden:
            if entry.is_dir():
                kernel.mount("nothing", entry.path, "tmpfs", kernel.MS_NOSUID | kernel.MS_NODEV | kernel.MS_NOEXEC, "size=0,nr_inodes=1,mode=555")
            else:
                kernel.mount("dev/null", entry.path, None, kernel.MS_BIND)
        kernel.restrict_mount("proc", kernel.ATTR_RDONLY, recursive=True)

    def power_off(self, guest, reap):
        """`reap` waits for the end of a child. The first process has ended when all the router's have been waited for."""
        found = self.guests.pop(guest)
        os.kill(found.first, signal.SIGKILL)
        while reap() not in (found.first, None):
            pass
        for fd in found.spaces.values():
            os.close(fd)
        kernel.unmount(found.root)

    def fork(self, guest):
        """Makes a child in a router's process namespace; with None, in the premises' own."""
        if guest is None:
            return os.fork()
        kernel.setns(self.guests[guest].spaces["pid"], kernel.CLONE_NEWPID)
        pid = os.fork()
        if pid != 0:
            kernel.setns(self.own_process_space, kernel.CLONE_NEWPID)
        return pid

    def enter(self, guest, network=None):
        """Moves this process, which is about to become a program, into a router for good; with None it stays beside them, in a
        network of them or in the premises' own."""
        if guest is None:
            self.visit(network)
            return
        found = self.guests[guest]
        confinement.become_first_victim()
        confinement.limit_resources(confinement.MOST_PROCESSES)
        self.visit(found.network)
        for kind in ("ipc", "uts", "mnt"):
            kernel.setns(found.spaces[kind], NAMESPACES[kind])
        kernel.keep_capabilities(confinement.CAPABILITIES, self.last_capability)
        confinement.put_filter_in_force(self.filter)

    def command(self, _guest, argv, environment):
        return argv, environment
