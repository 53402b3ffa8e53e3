# SPDX-License-Identifier: MIT
"""A control group, which bounds what everything virtual uses together: limits of single processes bound no sum.

A machine may delegate groups to whoever starts a router, or not; the folder /sys/fs/cgroup tells. There are two forms: one tree (v2),
where a group has all controllers, and a tree for each controller (v1).
"""

import contextlib
import os
import pathlib
import re
import time

import confinement

NAME = "virtual-router-{}"  # with the keeper's process id

# controller: files of limits and their values, by version
LIMITS = {
    1: {"memory": {"memory.limit_in_bytes": confinement.ALL_BYTES}, "pids": {"pids.max": confinement.ALL_PROCESSES}},
    2: {"memory": {"memory.max": confinement.ALL_BYTES, "memory.swap.max": 0}, "pids": {"pids.max": confinement.ALL_PROCESSES}},
}
# What memory is used tells little: what was read from the PC's disk counts, and gives way. Who had to end for want of it tells all.
ENDED = {1: "memory.oom_control", 2: "memory.events"}
OPTIONAL = ("memory.swap.max",)  # a kernel without swap has none


class NotDelegated(Exception):
    """No group can be made here; the text says why."""


def own_groups(lines):
    """Where this process is: {controller: path}, "" for the one tree, from the lines of /proc/self/cgroup."""
    found = {}
    for line in lines:
        _, controllers, path = line.split(":", 2)
        for controller in controllers.split(","):
            found[controller] = path
    return found


def mounted_trees(lines):
    """Where the trees are: {controller: (folder, path of the tree's own root)}, "" for the one tree, from /proc/self/mountinfo."""
    found = {}
    for line in lines:
        before, _, after = line.partition(" - ")
        root, folder = before.split()[3:5]
        kind, _, options = after.split()[:3]
        if kind == "cgroup2":
            found.setdefault("", (folder, root))
        elif kind == "cgroup":
            for controller in options.split(","):  # and "rw"
                found.setdefault(controller, (folder, root))
    return found


def folder_of(controller, groups, trees):
    """The folder of the group of that controller which this process is in."""
    if controller not in groups or controller not in trees:
        raise NotDelegated(f"there is no tree of {controller or 'control'} groups")
    folder, root = trees[controller]
    # A container may see a part of the tree only.
    inner = os.path.relpath(groups[controller], root)
    return pathlib.Path(folder, "" if inner == "." or inner.startswith("..") else inner)


def has(folder, controllers):
    """Whether the groups in this folder have these controllers; they get them if that may be. (v2)"""
    control = folder / "cgroup.subtree_control"
    with contextlib.suppress(OSError):  # who has processes of its own gives nothing to groups within
        control.write_text(" ".join(f"+{controller}" for controller in controllers))
    try:
        return set(controllers) <= set(control.read_text().split())
    except OSError:
        return False


def remove_left(folder):
    """Removes a group that a killed keeper left, unless it is somebody's."""
    path = pathlib.Path(folder)
    if re.fullmatch(NAME.format(r"\d+"), path.name):
        with contextlib.suppress(OSError):
            path.rmdir()


class Group:
    """Makes a group in the one where this process is, or beside it. Raises NotDelegated."""

    def __init__(self, groups=None, trees=None):
        groups = own_groups(pathlib.Path("/proc/self/cgroup").read_text().splitlines()) if groups is None else groups
        trees = mounted_trees(pathlib.Path("/proc/self/mountinfo").read_text().splitlines()) if trees is None else trees
        self.told = None  # the file that tells who had to end
        self.folders = []
        name = NAME.format(os.getpid())
        version = 1 if "memory" in trees and "pids" in trees else 2
        try:
            if version == 2:
                own = folder_of("", groups, trees)
                parent = next((folder for folder in (own, own.parent) if os.access(folder, os.W_OK) and has(folder, LIMITS[2])), None)
                if parent is None:
                    raise NotDelegated("this machine delegates none to whoever started it")
                self.make(parent / name, 2, LIMITS[2])
            else:
                for controller in LIMITS[1]:
                    self.make(folder_of(controller, groups, trees) / name, 1, [controller])
        except OSError as error:
            self.remove()
            raise NotDelegated(error.strerror) from None
        except BaseException:
            self.remove()
            raise

    def make(self, folder, version, controllers):
        folder.mkdir(mode=0o755)
        self.folders.append(folder)
        for controller in controllers:
            for name, most in LIMITS[version][controller].items():
                if name not in OPTIONAL or (folder / name).exists():
                    (folder / name).write_text(f"{most}\n")
        if "memory" in controllers:
            self.told = folder / ENDED[version]

    def add(self, pid):
        """Puts a process there, and all that it starts from now on."""
        for folder in self.folders:
            (folder / "cgroup.procs").write_text(f"{pid}\n")

    def ended(self):
        """How many processes the kernel has ended so far because there was no memory left for them."""
        try:
            found = re.search(r"^oom_kill (\d+)$", self.told.read_text(), re.MULTILINE)
        except OSError:
            return 0
        return int(found[1]) if found else 0

    def remove(self, seconds=0):
        """Removes the group; its processes may take so long to end."""
        deadline = time.monotonic() + seconds
        while self.folders:
            try:
                self.folders[-1].rmdir()
            except FileNotFoundError:
                pass
            except OSError:
                if time.monotonic() > deadline:
                    return
                time.sleep(0.01)
                continue
            self.folders.pop()
