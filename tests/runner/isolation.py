# SPDX-License-Identifier: MIT
"""What keeps the program under test apart: name spaces where they can be had, else a changed root, else proot."""

import contextlib
import ctypes
import os
import pathlib
import re
import resource
import shutil

libc = ctypes.CDLL(None, use_errno=True)

CLONE_NEWNS, CLONE_NEWIPC, CLONE_NEWUSER = 0x20000, 0x8000000, 0x10000000
PROOT_KILLED = 255
PROOT_SIGNAL = re.compile(rb"^proot info: pid \d+: terminated with signal (\d+)\n", re.M)
MS_BIND, MS_REC, MS_PRIVATE = 4096, 16384, 1 << 18


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


def keep_mounts():
    """Makes all mounts of a new mount name space private, so that nobody else sees what is mounted in it.

    In a chroot the root may be no mount point, and the mount that holds it cannot be named. Entering the name space once
    more leads to its own root, and from there back again.
    """
    root = os.open("/", os.O_DIRECTORY)
    space = os.open("/proc/self/ns/mnt", os.O_RDONLY)
    try:
        call("setns", space, CLONE_NEWNS)
        call("mount", b"none", b"/", None, MS_REC | MS_PRIVATE, None)
    finally:
        os.fchdir(root)
        os.chroot(".")
        os.close(space)
        os.close(root)


def enter_spaces(flags):
    """As unshare(); and of a mount name space nothing gets out."""
    folder = os.getcwd()
    if not unshare(flags):
        return False
    if flags & CLONE_NEWNS:
        try:
            keep_mounts()
        except OSError:
            return False
        os.chdir(folder)
    return True


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


def needs_proc(mode):
    """Valgrind and the sanitizers look into /proc/self."""
    return mode not in ("plain", "target")


def spaces_for(mode):
    return CLONE_NEWIPC | (CLONE_NEWNS if needs_proc(mode) else 0)


def lacks_root(mode, own_space):
    """Whether this process, which has or has not entered its name spaces, takes proot to run a program in another root."""
    return not can_chroot() or needs_proc(mode) and not own_space


def takes_proot(mode):
    return in_child(lambda: lacks_root(mode, enter_spaces(spaces_for(mode))))


def not_looked_for(mode):
    """What of a mode's work this machine does not allow, though the cases can be run; None: nothing."""
    if mode == "sanitize" and takes_proot(mode):
        return "no leak is looked for: without a mount name space proot traces the program, and the sanitizer cannot then"
    return None


def missing_right(mode):
    """What this machine lacks to run cases in `mode`; None if it lacks nothing."""
    if needs_proc(mode) and not os.path.isdir("/proc/self"):
        return f"{mode} reads /proc, which is not mounted here: mount -t proc proc /proc"
    if mode == "valgrind" and takes_proot(mode):
        return "valgrind reads /proc, which takes a mount name space here, and this process may not make one"
    if takes_proot(mode) and shutil.which("proot") is None:
        return "neither a name space nor another root folder may be made, and proot is not installed"
    return None


class Isolation:
    """What this process, a worker, runs the program in; made once, since it changes the process."""

    def __init__(self, mode):
        self.needs_proc = needs_proc(mode)
        self.own_space = enter_spaces(spaces_for(mode))
        self.proot = lacks_root(mode, self.own_space)
        self.inside = False

    def supply_proc(self, root):
        """Puts /proc into the root for those who need it; with proot the launcher's line does."""
        if self.needs_proc:
            root.path("/proc/self").symlink_to("/.runner/proc/self")
            if not self.proot:
                call("mount", b"/proc", bytes(root.path("/.runner/proc")), None, MS_BIND | MS_REC, None)

    def enter(self, root, folder):
        """Goes into the root for good, to the folder there, if that is all that a program needs. Then it is started without
        the launcher, whose own start takes as long as the program's."""
        if not self.proot and not self.needs_proc:
            os.chroot(root.folder)
            os.chdir(folder)
            root.folder = pathlib.Path("/")
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            self.inside = True

    def launcher(self, root, tools, arguments, folder):
        """The beginning of a command line that runs a program in the root and the folder there, with these arguments of the
        launcher."""
        if self.inside and not arguments:
            return []
        return [*self.way_in(root, tools), *(["-p"] if self.needs_proc else []), "-w", folder, *arguments]

    def way_in(self, root, tools):
        if self.inside:
            return ["/.runner/launch"]
        if self.proot:
            binds = ["-b", "/proc:/.runner/proc"] if self.needs_proc else []
            return ["proot", "-r", str(root.folder), "-w", "/", *binds, "/.runner/launch"]
        return [str(tools / "launch"), "-r", str(root.folder)]

    def end(self, status, stderr):
        """(status, standard error) as the program left them: proot turns a signal into a status, and tells it there."""
        if self.proot and status == PROOT_KILLED and (told := PROOT_SIGNAL.search(stderr)):
            return -int(told[1]), stderr.replace(told[0], b"")
        return status, stderr

    def environment(self, root):
        return {"PROOT_TMP_DIR": str(root.path(".runner"))} if self.proot else {}
