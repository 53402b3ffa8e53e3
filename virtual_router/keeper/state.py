# SPDX-License-Identifier: MIT
"""The state folder: what survives the router, and where it runs. It belongs to one router at a time."""

import contextlib
import fcntl
import os
import pathlib
import shutil

import cgroup
import kernel
from messages import KEEPER_SOCKET

LOCK = "router.lock"
RUN = "run"
GROUP = "control-group"  # in the run folder
CONTROL_FILE = "control.json"  # where the control port is, and its token


class Refused(Exception):
    """The folder cannot be had; the text says why."""


SNAPSHOTS = "snapshots"


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
        self.left = self.left_over()
        self.clear_run()
        self.run.mkdir(mode=0o700)

    def flash(self, agent=None):
        return self.path / f"agents/{agent}/flash" if agent else self.path / "flash"

    def left_over(self):
        """The names of what goes with a router, and is there all the same: what ended it was not the router."""
        return [name for name in (RUN, KEEPER_SOCKET, CONTROL_FILE) if os.path.lexists(self.path / name)]

    def note_group(self, folders):
        """Where the control group is, for who has to clear it away."""
        (self.run / GROUP).write_text("".join(f"{folder}\n" for folder in folders))

    def clear_run(self):
        with contextlib.suppress(OSError, ValueError):
            kernel.remove_queue(int((self.run / "queue").read_text()))
        with contextlib.suppress(OSError, ValueError):
            for folder in (self.run / GROUP).read_text().splitlines():
                cgroup.remove_left(folder)
        if self.run.exists():
            shutil.rmtree(self.run, ignore_errors=True)
        for name in (KEEPER_SOCKET, CONTROL_FILE, f"{CONTROL_FILE}.new"):
            (self.path / name).unlink(missing_ok=True)
