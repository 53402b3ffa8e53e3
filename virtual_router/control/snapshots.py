# SPDX-License-Identifier: MIT
"""Snapshots: a running router and all around it is saved under a name, and is later what it was then, while it runs."""

import asyncio
import contextlib
import json
import os
import re
import signal
import stat
import time

import faults
import premises
from router import ENVIRONMENT
from state import SNAPSHOTS

from . import device, moments, route

NAME = re.compile(r"[A-Za-z0-9][A-Za-z0-9._-]{0,63}")
ENDING = ".snapshot"
MOST_SNAPSHOTS = 100
MOST_ROUTER_BYTES = 64 << 20


def place(name):
    """The file's name. Raises Refused where it can be none."""
    if not NAME.fullmatch(name):
        raise route.Refused(400, "name", "a snapshot's name has letters, digits, '.', '_' and '-', 64 at most, and begins with a letter or a digit")
    return name + ENDING


@contextlib.contextmanager
def folder(keeper):
    """A descriptor of the folder with the snapshots, which is the owner's alone."""
    path = keeper.state.path / SNAPSHOTS
    path.mkdir(mode=0o700, exist_ok=True)
    try:
        fd = os.open(path, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW | os.O_CLOEXEC)
    except OSError as error:
        raise route.Refused(409, "folder", f"{path}: {error.strerror}") from None
    try:
        yield fd
    finally:
        os.close(fd)


def read(keeper, name):
    file = place(name)
    with folder(keeper) as fd:
        try:
            found = os.open(file, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK | os.O_CLOEXEC, dir_fd=fd)
        except OSError:
            raise route.Refused(404, "snapshot", f"there is no snapshot {name}") from None
        with open(found, "rb") as opened:
            if not stat.S_ISREG(os.fstat(found).st_mode):
                raise route.Refused(404, "snapshot", f"there is no snapshot {name}")
            data = opened.read(moments.MOST_BYTES + 1)
    if len(data) > moments.MOST_BYTES:
        raise route.Refused(409, "snapshot", f"the snapshot {name} is too long")
    return data


def write(keeper, name, data, replace):
    file = place(name)
    with folder(keeper) as fd:
        there = [other for other in os.listdir(fd) if other.endswith(ENDING)]
        if file in there and not replace:
            raise route.Refused(409, "exists", f"there is a snapshot {name} already")
        if file not in there and len(there) >= MOST_SNAPSHOTS:
            raise route.Refused(409, "full", f"there are {MOST_SNAPSHOTS} snapshots already")
        new = f".{file}.new"
        with contextlib.suppress(FileNotFoundError):
            os.unlink(new, dir_fd=fd)
        with open(os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW | os.O_CLOEXEC, 0o600, dir_fd=fd), "wb") as opened:
            opened.write(data)
        os.replace(new, file, src_dir_fd=fd, dst_dir_fd=fd)


def unpacked(data):
    try:
        return moments.unpack(data)
    except moments.Wrong as error:
        raise route.Refused(400, "snapshot", str(error)) from None


# --- a moment of the running router ---


async def take(keeper):
    """The moment that is now. Requests wait meanwhile."""
    device.check_on(keeper)
    async with keeper.held():
        device.check_on(keeper)
        shown, up, rate = await keeper.clock_numbers()
        home = None
        if keeper.options.home:
            home = json.loads(await home_order(keeper, "save-state"))
        routers = {name: await save_router(keeper, found) for name, found in keeper.routers.items() if found.on}
    about = {
        "taken": time.time(), "mode": keeper.premises.mode.name, "home": keeper.options.home.stem if home else None,
        "clock": {"shown": shown, "up": up, "rate": rate},
    }  # fmt: skip
    return moments.Moment(about, routers, home, keeper.faults.state())


async def home_order(keeper, *words):
    status, text = await keeper.ask_home(*words)
    if status != 0:
        raise route.Refused(400, "snapshot", f"the home: {text}")
    return text


async def save_router(keeper, found):
    result, content = await keeper.outcome(found.guest, ["snapshot", "save"], ENVIRONMENT, MOST_ROUTER_BYTES, errors=False)
    if result != 0 or len(content) == MOST_ROUTER_BYTES:
        raise route.Refused(409, "router", f"{found.guest} cannot be saved: {'it is too large' if result == 0 else f'status {result}'}")
    return content


async def bring_back(keeper, moment):
    """Makes the router what it was. Returns how long that took, in milliseconds."""
    device.check_on(keeper)
    running = {name for name, found in keeper.routers.items() if found.on}
    if {*moment.routers} != running:
        raise route.Refused(409, "routers", f"the snapshot is of {' '.join(sorted(moment.routers))}, and here are {' '.join(sorted(running))}")
    if (moment.home is None) != (keeper.options.home is None):
        raise route.Refused(409, "home", "the snapshot has a home, and this router has none" if moment.home else "the snapshot has no home, and this router has one")
    clock = moment.about.get("clock", {})
    if not all(isinstance(clock.get(name), int) for name in ("shown", "up", "rate")):
        raise route.Refused(400, "snapshot", "it does not tell its clock")
    begun = time.monotonic()
    async with keeper.held():
        device.check_on(keeper)
        for name, content in moment.routers.items():
            line = f"{time.time_ns()} {clock['shown']} {clock['up']} {clock['rate']}"
            await restore_router(keeper, keeper.routers[name], content, line if name == keeper.main.guest else "")
        if moment.home is not None:
            await home_order(keeper, "restore-state", json.dumps(moment.home))
        try:
            keeper.faults.restore(moment.faults or [])
        except faults.Refused as error:
            raise route.Refused(400, "snapshot", str(error)) from None
    return (time.monotonic() - begun) * 1000


async def restore_router(keeper, found, content, clock):
    daemons = [part.number for part in keeper.parts.values() if part.guest == found.guest and part.name.endswith("system daemon")]

    async def signal_daemons(number):
        for daemon in daemons:
            with contextlib.suppress(premises.Refused):
                await keeper.order("kill", number=daemon, signal_number=number, group=True)

    fd = os.memfd_create("snapshot", os.MFD_CLOEXEC)
    try:
        with open(fd, "wb", closefd=False) as file:
            file.write(content)
        os.lseek(fd, 0, os.SEEK_SET)
        await signal_daemons(signal.SIGSTOP)
        result, said = await keeper.outcome(found.guest, ["snapshot", "restore", clock], ENVIRONMENT, device.MOST_OUTPUT_BYTES, given=fd)
    finally:
        os.close(fd)
        await signal_daemons(signal.SIGCONT)
    if result != 0:
        raise route.Refused(409, "router", f"{found.guest} could not be restored (status {result}): {said.decode(errors='replace').strip()[-500:]}")


# --- routes ---


async def list_all(call):
    found = []
    with folder(call.keeper) as fd:
        for file in sorted(os.listdir(fd)):
            if file.endswith(ENDING) and NAME.fullmatch(file.removesuffix(ENDING)):
                about = os.stat(file, dir_fd=fd, follow_symlinks=False)
                if stat.S_ISREG(about.st_mode):
                    found.append({"name": file.removesuffix(ENDING), "bytes": about.st_size, "saved": about.st_mtime})
    return found


async def save(call):
    name = call.path["name"]
    place(name)
    moment = await take(call.keeper)
    data = await asyncio.to_thread(moments.pack, moment)
    write(call.keeper, name, data, call.body.get("replace", False))
    call.keeper.say(f"snapshot: {name} is saved")
    return {"name": name, "bytes": len(data)}


async def restore(call):
    name = call.path["name"]
    moment = unpacked(read(call.keeper, name))
    took = await bring_back(call.keeper, moment)
    call.keeper.say(f"snapshot: everything is as in {name}; that took {took:.0f} ms")
    return {"name": name, "milliseconds": round(took)}


async def diff(call):
    before = unpacked(read(call.keeper, call.path["name"]))
    after = unpacked(read(call.keeper, call.query["with"])) if "with" in call.query else await take(call.keeper)
    try:
        return moments.difference(before, after, call.query.get("secrets", False))
    except (moments.Wrong, KeyError, TypeError, AttributeError) as error:
        raise route.Refused(400, "snapshot", str(error)) from None


async def give(call):
    return route.File(place(call.path["name"]), "application/zip", read(call.keeper, call.path["name"]))


async def put(call):
    name = call.path["name"]
    unpacked(call.data)
    write(call.keeper, name, call.data, call.query.get("replace", False))
    return {"name": name, "bytes": len(call.data)}


async def remove(call):
    name = place(call.path["name"])
    with folder(call.keeper) as fd:
        try:
            os.unlink(name, dir_fd=fd)
        except OSError:
            raise route.Refused(404, "snapshot", f"there is no snapshot {call.path['name']}") from None
    return {}


SAVED = route.an_object({"name": route.TEXT, "bytes": route.WHOLE})
LISTED = route.an_object({"name": route.TEXT, "bytes": route.WHOLE, "saved": {**route.NUMBER, "description": "seconds since 1970"}})
TWO = {"type": "object", "additionalProperties": {"type": "array", "description": "before and after; null: not there"}}
ROUTER_CHANGES = route.an_object({
    "settings": TWO, "committed": TWO, "session": {"enum": ["same", "begun", "gone", "another"]},
    "files": {"type": "object", "additionalProperties": {"enum": ["new", "gone", "changed"]}}, "network": route.TRUTH, "rules": route.TRUTH,
})  # fmt: skip
CHANGES = route.an_object({
    "routers": {"type": "object", "additionalProperties": ROUTER_CHANGES}, "clock": {**route.NUMBER, "description": "seconds between them by the router's clock"},
    "home": {"type": "object", "properties": {"devices": TWO, "state": TWO}},
    "faults": route.a_list(route.a_list(route.TEXT), description="those that were armed then, and now"),
})  # fmt: skip
NONE = {404: "there is no such snapshot"}
OTHER = {404: "there is no such snapshot", 409: "the router is starting or away, or the snapshot is of another house"}
REPLACE = {"replace": route.TRUTH}
ROUTES = (
    route.Route("GET", "/api/snapshots", list_all, "the snapshots that are saved", route.a_list(LISTED)),
    route.Route("POST", "/api/snapshots/{name}", save, "save all as it is now", SAVED, route.an_object(REPLACE, optional=REPLACE), refusals={409: "the router is starting or away, or there is one of that name"}),
    route.Route("POST", "/api/snapshots/{name}/restore", restore, "make all what it was then, while the router runs", route.an_object({"name": route.TEXT, "milliseconds": route.WHOLE}), route.an_object({}), refusals=OTHER),
    route.Route("GET", "/api/snapshots/{name}/diff", diff, "what has changed since then, or until another snapshot", CHANGES, query={"with": route.TEXT, "secrets": route.TRUTH}, refusals=OTHER),
    route.Route("GET", "/api/snapshots/{name}/file", give, "the snapshot as one file", {}, kind=route.FILE, refusals=NONE),
    route.Route("PUT", "/api/snapshots/{name}/file", put, "take a snapshot from a file", SAVED, query=REPLACE, takes_file=True, most_body=moments.MOST_BYTES, refusals={409: "there is one of that name"}),
    route.Route("DELETE", "/api/snapshots/{name}", remove, "remove a snapshot", {"type": "object"}, refusals=NONE),
)  # fmt: skip
