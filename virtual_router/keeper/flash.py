# SPDX-License-Identifier: MIT
"""A router's flash memory: what outlives the router, as files of the PC.

The router has its flash memory's files in its own memory. Whenever it says that one is to be kept, the file is copied here, and the
router hears that it is kept when a power cut of the PC could not undo it any more. Nothing else of a router comes to the PC's disk.
"""

import asyncio
import contextlib
import os
import re
import stat

KIBIBYTE = 1 << 10
STORE_BYTES = 4096 * KIBIBYTE + 64 * KIBIBYTE

# The files that there may be, and the most bytes of each.
FILES = (
    (re.compile(r"mib/committed\.mdb"), STORE_BYTES),
    (re.compile(r"mib/settings\.mdb"), STORE_BYTES),
    (re.compile(r"mib/committed\.mdb\.damaged-\d{8}T\d{6}Z(-\d)?"), STORE_BYTES),
    (re.compile(r"leds-off"), 0),
    (re.compile(r"wan-taken"), 64 * KIBIBYTE),
)
MOST_DAMAGED = 8
FOLDERS = ("", "mib")


class NotKept(Exception):
    """A file is none that is kept; the text says why."""


def most_bytes(name):
    """How long a file of that name may be. Raises NotKept where none has that name."""
    for pattern, most in FILES:
        if pattern.fullmatch(name):
            return most
    raise NotKept("no file of the flash memory has that name")


def check(fd, most):
    found = os.fstat(fd)
    if not stat.S_ISREG(found.st_mode):
        raise NotKept("it is no regular file")
    if found.st_size > most:
        raise NotKept(f"it is longer than {most} bytes")


class Flash:
    def __init__(self, folder):
        self.path = folder
        self.busy = asyncio.Lock()
        for name in FOLDERS:
            path = folder / name
            path.mkdir(mode=0o700, parents=True, exist_ok=True)
            if path.is_symlink():
                raise NotKept(f"{path} is a symbolic link")
            path.chmod(0o700)
        self.folders = {name: os.open(folder / name, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW | os.O_CLOEXEC) for name in FOLDERS}

    def place(self, name):
        """The descriptor of a file's folder, and the file's name in there."""
        folder, _, last = name.rpartition("/")
        return self.folders[folder], last

    def names(self):
        found = []
        for folder, fd in self.folders.items():
            for last in sorted(os.listdir(fd)):
                name = f"{folder}/{last}" if folder else last
                with contextlib.suppress(NotKept):
                    most_bytes(name)
                    found.append(name)
        return found

    def open_all(self):
        """Returns {name: descriptor} of the files that are kept, and a line about each that is none."""
        files, lines = {}, []
        for name in self.names():
            folder, last = self.place(name)
            try:
                fd = os.open(last, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK | os.O_CLOEXEC, dir_fd=folder)
                try:
                    check(fd, most_bytes(name))
                    os.fchmod(fd, 0o600)
                except BaseException:
                    os.close(fd)
                    raise
                files[name] = fd
            except (OSError, NotKept) as error:
                lines.append(f"flash: {self.path / name} is left alone: {getattr(error, 'strerror', None) or error}")
        return files, lines

    async def keep(self, name, source):
        """Keeps what the descriptor `source` has under that name; None: nothing, for there is no such file any more."""
        async with self.busy:
            await asyncio.to_thread(self.replace, name, source)

    def replace(self, name, source):
        most = most_bytes(name)
        folder, last = self.place(name)
        if source is None:
            with contextlib.suppress(FileNotFoundError):
                os.unlink(last, dir_fd=folder)
        else:
            check(source, most)
            if ".damaged-" in name and sum(".damaged-" in other for other in os.listdir(folder)) >= MOST_DAMAGED:
                raise NotKept(f"{MOST_DAMAGED} damaged stores are kept already")
            new = last + ".new"
            with contextlib.suppress(FileNotFoundError):
                os.unlink(new, dir_fd=folder)
            try:
                copy(source, os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW | os.O_CLOEXEC, 0o600, dir_fd=folder), most)
                os.rename(new, last, src_dir_fd=folder, dst_dir_fd=folder)
            except BaseException:
                with contextlib.suppress(OSError):
                    os.unlink(new, dir_fd=folder)
                raise
        with contextlib.suppress(OSError):  # some file systems of a PC cannot do this to a folder, and have nothing like it
            os.fsync(folder)


def copy(source, target, most):
    """Copies up to `most` bytes, which are down when this returns. A file that grows while it is read is none that is kept."""
    try:
        left = most
        while chunk := os.pread(source, min(left + 1, 1 << 20), most - left):
            left -= len(chunk)
            if left < 0:
                raise NotKept(f"it is longer than {most} bytes")
            while chunk:
                chunk = chunk[os.write(target, chunk) :]
        os.fsync(target)
    finally:
        os.close(target)
