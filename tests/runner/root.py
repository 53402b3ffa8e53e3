# SPDX-License-Identifier: MIT
"""The root in which the program under test runs: made once for each worker, brought back for each case."""

import contextlib
import os
import pathlib
import re
import shutil
import stat

from caseformat import CaseError, at_second, expand, to_bytes
from libraries import shared_objects, target_objects

PROGRAM = "/web/app/app.cgi"
TARGETS = {  # name of a device build -> its emulator, where the cross compiler keeps its C library, its byte order
    "mipsel": ("qemu-mipsel-static", "/usr/mipsel-linux-gnu/lib", "little"),
    "mips": ("qemu-mips-static", "/usr/mips-linux-gnu/lib", "big"),
    "armhf": ("qemu-arm-static", "/usr/arm-linux-gnueabihf/lib", "little"),
    # These have no floating-point unit, so that one instruction for it ends the program; their C library is the build's own.
    "mipsel-24kc": ("qemu-mipsel-static -cpu 24Kc", None, "little"),
    "mips-24kc": ("qemu-mips-static -cpu 24Kc", None, "big"),
    "armv5": ("qemu-arm-static -cpu arm926", None, "little"),
    "armv7": ("qemu-arm-static -cpu cortex-a9", None, "little"),
    "aarch64": ("qemu-aarch64-static", "/usr/aarch64-linux-gnu/lib", "little"),
}
EMULATOR = "/.runner/emulator"
FIRMWARE_LIBRARIES = ("libapmib.so", "libarpcheck.so")


MEMORY = "/dev/shm"
ROOM = 64 << 20  # bytes for each worker: libraries, and what cases lay out, which is up to 10 MB


def toolchain(build):
    """The folder that a build has from script/musl-toolchain."""
    cache = (build / "CMakeCache.txt").read_text()
    return pathlib.Path(re.search(r"^MUSL_FOLDER:\w+=(.*)$", cache, re.MULTILINE)[1])


def error_texts(target, build):
    """Name -> text of the errors, where the target's C library has texts of its own."""
    if not target or TARGETS[target][1]:
        return {}
    return dict(re.findall(r'^E\((\w+),\s*"(.*)"\)', (toolchain(build) / "strerror.h").read_text(), re.MULTILINE))


def emulator_of(target):
    """The beginning of a command line inside the root, and the environment, for a program of that target."""
    emulator, folder, _ = TARGETS[target]
    # glibc's loader reads /etc/ld.so.preload, musl's does not.
    return [EMULATOR, *emulator.split()[1:]], {} if folder else {"LD_PRELOAD": "/lib/libinterfaces.so"}


def roots_folder(jobs):
    """Where so many roots are best made: in memory, if programs may be started there and there is room; None: anywhere."""
    with contextlib.suppress(OSError):
        status = os.statvfs(MEMORY)
        room = status.f_bavail * status.f_frsize
        if os.access(MEMORY, os.W_OK) and not status.f_flag & os.ST_NOEXEC and room >= jobs * ROOM:
            return MEMORY
    return None


class Root:
    """A folder with the program, its libraries and the doubles. What a case adds is gone with the next reset().

    `extra`: the files that what watches the program needs, of the libraries of the program."""

    def __init__(self, folder, binary, tools, target, extra):
        self.folder = pathlib.Path(folder)
        self.laid_out = 0  # the second in which the case's files were
        self.build(pathlib.Path(binary), tools, target, extra)
        self.base = {}

    def finish(self):
        """What is there now is the first state."""
        self.base = self.snapshot()

    def path(self, inside):
        return self.folder / inside.lstrip("/")

    def write(self, inside, data):
        """Writes a file of the runner's own. Without pathlib, which would take longer than the kernel."""
        file = os.open(f"{self.folder}{inside}", os.O_WRONLY | os.O_CREAT | os.O_TRUNC | os.O_CLOEXEC, 0o644)
        os.write(file, data)
        os.close(file)

    def copy(self, source, inside=None):
        target = self.path(inside or str(source))
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists():
            shutil.copy(source, target)

    def build(self, binary, tools, target, extra):
        for folder in ("bin", "dev", "etc", "lib", "proc/net", "tmp", "var", ".runner/proc"):
            self.path(folder).mkdir(parents=True)
        self.copy(binary, PROGRAM)
        self.path(PROGRAM).chmod(0o755)
        doubles = tools
        if target:
            emulator, folder, _ = TARGETS[target]
            doubles = binary.parent / "tests" / "runner"
            folder = folder or toolchain(binary.parent) / "lib"
            for name, library in target_objects(binary, FIRMWARE_LIBRARIES, folder).items():
                self.copy(library, f"/lib/{name}")
            self.copy(shutil.which(emulator.split()[0]), EMULATOR)
        else:
            libraries = shared_objects(binary, FIRMWARE_LIBRARIES)
            for file in (*libraries, *extra(libraries)):
                self.copy(file)
        for double in (*FIRMWARE_LIBRARIES, "libinterfaces.so"):
            self.copy(doubles / double, f"/lib/{double}")
        self.path("/etc/ld.so.preload").write_text("/lib/libinterfaces.so\n")
        self.copy(tools / "double_shell", "/.runner/shell")
        self.copy(tools / "launch", "/.runner/launch")

    def walk(self):
        """Every path of the root with its status, the runner's own folder left out."""
        root = str(self.folder).rstrip("/")
        own = f"{root}/.runner"
        pending = [root or "/"]
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

    def files(self):
        """All files that are not the base's: path -> content, or the type of what is no file."""
        found = {}
        for path, status in self.walk():
            if path in self.base and identity(status) == self.base[path]:
                continue
            if stat.S_ISREG(status.st_mode):
                found[path] = self.path(path).read_bytes() if status.st_nlink == 1 else b"the double"
            elif stat.S_ISLNK(status.st_mode) and re.fullmatch(r"/proc/\d+", path):
                self.path(path).unlink()
            elif not stat.S_ISDIR(status.st_mode) or not any(self.path(path).iterdir()):
                found[path] = f"type {stat.S_IFMT(status.st_mode):o}".encode()
        return found


def identity(status):
    """What stays the same while nobody touches a file; a folder's times change with its entries."""
    if stat.S_ISDIR(status.st_mode):
        return status.st_mode, status.st_ino
    return status.st_mode, status.st_ino, status.st_size, status.st_mtime_ns
