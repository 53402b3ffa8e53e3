# SPDX-License-Identifier: MIT
"""Files of the router's root, read and written from beside it. The router is nobody to trust: no link that it made is followed,
nothing but plain files is opened, and no more is read than a file of that kind can have."""

import contextlib
import os
import stat

MOST_BYTES = 1 << 20


class Root:
    """The router's root, a folder of the PC. Names are paths in it, such as "var/run/lan"."""

    def __init__(self, path):
        self.path = path

    def identity(self):
        """What tells this root from another in its place; None: there is none, as while the router is switched off."""
        try:
            os.stat(os.path.join(self.path, "etc"), follow_symlinks=False)
            found = os.stat(self.path)
            return found.st_dev, found.st_ino
        except OSError:
            return None

    @contextlib.contextmanager
    def folder_of(self, name, make=False):
        """Gives a descriptor of the folder that a file is in, and the file's last name."""
        *folders, last = name.split("/")
        folder = os.open(self.path, os.O_RDONLY | os.O_DIRECTORY | os.O_CLOEXEC)
        try:
            for part in folders:
                if make:
                    with contextlib.suppress(FileExistsError):
                        os.mkdir(part, 0o755, dir_fd=folder)
                inner = os.open(part, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW | os.O_CLOEXEC, dir_fd=folder)
                os.close(folder)
                folder = inner
            yield folder, last
        finally:
            os.close(folder)

    def read(self, name):
        """The bytes of a file; None if there is none."""
        try:
            with self.folder_of(name) as (folder, last):
                # A pipe in its place must not be waited for.
                file = os.open(last, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK | os.O_CLOEXEC, dir_fd=folder)
                with open(file, "rb") as opened:
                    return opened.read(MOST_BYTES) if stat.S_ISREG(os.fstat(file).st_mode) else None
        except OSError:
            return None

    def write(self, name, content):
        """Puts a file there, which is never seen half written."""
        with self.folder_of(name, make=True) as (folder, last):
            new = f"{last}.new"
            with contextlib.suppress(FileNotFoundError):
                os.unlink(new, dir_fd=folder)
            file = os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o644, dir_fd=folder)
            with open(file, "wb") as opened:
                opened.write(content)
            os.replace(new, last, src_dir_fd=folder, dst_dir_fd=folder)

    def remove(self, name):
        with contextlib.suppress(FileNotFoundError):
            with self.folder_of(name) as (folder, last):
                os.unlink(last, dir_fd=folder)
