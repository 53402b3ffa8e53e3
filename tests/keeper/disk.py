# SPDX-License-Identifier: MIT
"""What a module asks of the disk, call by call, and what a disk may have of it after a power cut."""

import os
import stat
from typing import NamedTuple


class Call(NamedTuple):
    name: str  # "open", "write", "fsync file", "fsync folder", "rename" or "unlink"
    file: str | None  # whose: its name; of a rename, what it becomes


class Disk:
    """Takes the place of `os` in a module, or for as long as it is used in a with statement."""

    WATCHED = ("open", "write", "fsync", "rename", "unlink")

    def __init__(self, module):
        self.module = module
        self.calls = []
        self.visit = lambda _number, _name: None
        self.names = {}  # descriptor -> name that it was opened with
        module.os = self

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.module.os = os

    def __getattr__(self, name):
        """As os has it; what is watched is noted."""
        function = getattr(os, name)
        return self.noted(name, function) if name in self.WATCHED else function

    def before_each(self, visit):
        """Calls visit(number, name) before each call, and once more after it, with the next number."""
        self.visit = visit

    def noted(self, name, function):
        def call(*arguments, **named):
            self.visit(2 * len(self.calls), name)
            result = function(*arguments, **named)
            self.note(name, arguments, result)
            self.visit(2 * len(self.calls) - 1, name)
            return result

        return call

    def note(self, name, arguments, result):
        if name == "open":
            self.names[result] = arguments[0]
            call = Call("open", arguments[0])
        elif name == "fsync":
            folder = stat.S_ISDIR(os.fstat(arguments[0]).st_mode)
            call = Call("fsync folder", None) if folder else Call("fsync file", self.names[arguments[0]])
        elif name == "write":
            call = Call("write", self.names[arguments[0]])
        else:
            call = Call(name, arguments[1] if name == "rename" else arguments[0])
        self.calls.append(call)

    @staticmethod
    def outcomes(calls):
        """What the store may be after these calls and a power cut: "old", "new" or "torn". A file's bytes are safe from its fsync on, a
        name from the folder's; until then the disk may have them or not, whatever came first."""
        names, content = {"old"}, "new"
        for number, call in enumerate(calls):
            if call.name == "write":
                content = "torn"
            elif call.name == "fsync file":
                content = "new"
            elif call.name == "rename":
                names.add("renamed")
            elif call.name == "fsync folder" and "renamed" in names:
                names = {"renamed"}
            elif call.name == "unlink" and not call.file.endswith(".new"):
                names.add("torn")
        found = names - {"renamed"}
        if "renamed" in names:
            found |= {"new"} if content == "new" else {"new", "torn"}
        return found
