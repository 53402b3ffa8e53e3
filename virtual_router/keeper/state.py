# SPDX-License-Identifier: MIT
"""The state folder: what survives the router, and where it runs. It belongs to one router at a time."""

import contextlib
import fcntl
import os
import pathlib
import shutil

import kernel

LOCK = "router.lock"
RUN = "run"
SOCKET = "keeper.sock"
CONTROL_FILE = "control.json"  # where the control port is, and its token


class Refused(Exception):
    """The folder cannot be had; the text says why."""


class State:
    """Raises Refused where the folder is another's."""

    def __init__(self, folder, fresh):
        who = f"user {os.geteuid()}"
        try:
            pathlib.Path(folder).mkdir(mode=0o700, parents=True, exist_ok=True)
            self.path = pathlib.Path(folder).resolve()
            others = any(self.path.iterdir())
        except OSError:
            raise Refused(f"cannot make the state folder {folder}; --state names another") from None
        if others and not (self.path / LOCK).exists():
            raise Refused(f"{self.path} holds other things than a router's state; --state names another folder")
        try:
            self.lock = os.open(self.path / LOCK, os.O_WRONLY | os.O_CREAT | os.O_NOFOLLOW | os.O_CLOEXEC, 0o600)
        except OSError:
            raise Refused(f"{who} may not write to the state folder {self.path}; --state names another") from None
        try:
            fcntl.flock(self.lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            raise Refused(f"another router runs on the state folder {self.path}; --state names another") from None
        if fresh:
            for name in ("flash", "agents"):
                shutil.rmtree(self.path / name, ignore_errors=True)
        self.run = self.path / RUN
        self.clear_run()
        self.run.mkdir(mode=0o700)

    def flash(self, agent=None):
        return self.path / f"agents/{agent}/flash" if agent else self.path / "flash"

    def clear_run(self):
        """What a killed router left, too."""
        with contextlib.suppress(OSError, ValueError):
            kernel.remove_queue(int((self.run / "queue").read_text()))
        if self.run.exists():
            shutil.rmtree(self.run, ignore_errors=True)
        for name in (SOCKET, CONTROL_FILE, f"{CONTROL_FILE}.new"):
            (self.path / name).unlink(missing_ok=True)


def socket_address(folder):
    """The address of the keeper's socket, and a descriptor that must stay open while it is used: folders may lie deep, and the path of
    a socket may not be long."""
    fd = os.open(folder, os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC)
    return f"/proc/self/fd/{fd}/{SOCKET}", fd
