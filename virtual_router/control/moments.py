# SPDX-License-Identifier: MIT
"""A moment of a router and all around it, as a file: what a snapshot is made of. Pure: no router is touched here.

The file is a zip archive: about.json, home.json where there is a home, routers/NAME.tar for the router and each agent. An archive comes
from anybody. Nothing of it is unpacked to the PC: a router's part is for that router to unpack, in its own confinement.
"""

import io
import json
import re
import tarfile
import zipfile
from typing import NamedTuple

from hiding import HIDDEN, ITEMS

FORM = 1
MOST_BYTES = 64 << 20  # of the archive
MOST_PART_BYTES = 96 << 20  # of a part, when it is unpacked
MOST_PARTS = 8
_ROUTER = re.compile(r"routers/(router|agent[1-9])\.tar")
_OWN = "var/run/snapshot/"  # of a router's part: what is no file of it
_SESSION = "var/app_sessionid"
_NOT_COMPARED = ("outside/", "var/terminal_rate_info", "var/run/at/")  # the home's, told by its own words; and what follows from the clock
_SECRET = re.compile("|".join(item.removeprefix("MIB_").removeprefix("WLAN_") + r"\Z" for item in sorted(ITEMS)))


class Wrong(Exception):
    """A file is no moment; the text says why."""


class Moment(NamedTuple):
    about: dict
    routers: dict  # name -> tar archive
    home: dict | None
    faults: list | None = None


def pack(moment):
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w", zipfile.ZIP_DEFLATED, compresslevel=1) as archive:
        archive.writestr("about.json", json.dumps({"form": FORM, **moment.about}))
        for name, value in (("home.json", moment.home), ("faults.json", moment.faults)):
            if value is not None:
                archive.writestr(name, json.dumps(value))
        for name, content in moment.routers.items():
            archive.writestr(f"routers/{name}.tar", content)
    return data.getvalue()


def unpack(data):
    """Raises Wrong."""
    try:
        with zipfile.ZipFile(io.BytesIO(data)) as archive:
            parts = {found.filename: read_part(archive, found) for found in checked(archive.infolist())}
        about = json.loads(parts.pop("about.json"))
        if not isinstance(about, dict) or about.get("form") != FORM:
            raise Wrong(f"it is of another form than {FORM}, which this version knows")
        home, faults = (json.loads(parts.pop(name)) if name in parts else None for name in ("home.json", "faults.json"))
    except (zipfile.BadZipFile, zipfile.LargeZipFile, KeyError, ValueError, NotImplementedError, RuntimeError, EOFError, OSError, RecursionError) as error:
        raise Wrong(f"it is no snapshot: {error}") from None
    return Moment(about, {_ROUTER.fullmatch(name)[1]: content for name, content in parts.items()}, home, faults)


def checked(found):
    names = [part.filename for part in found]
    if len(names) > MOST_PARTS or len(set(names)) < len(names):
        raise Wrong("it has too many parts")
    for name in names:
        if name not in ("about.json", "home.json", "faults.json") and not _ROUTER.fullmatch(name):
            raise Wrong(f"it has a part that no snapshot has: {name[:80]!r}")
    return found


def read_part(archive, found):
    """What is said of a part's length is not believed."""
    with archive.open(found) as part:
        content = part.read(MOST_PART_BYTES + 1)
    if len(content) > MOST_PART_BYTES:
        raise Wrong(f"its part {found.filename} is too long")
    return content


def files(content):
    """{path: (kind, content)} of a router's part."""
    found = {}
    try:
        with tarfile.open(fileobj=io.BytesIO(content)) as archive:
            for entry in archive:
                kind = "file" if entry.isreg() else "link" if entry.issym() else "other"
                data = archive.extractfile(entry).read() if entry.isreg() else entry.linkname.encode()
                if not entry.isdir():
                    found[entry.name] = (kind, data)
    except (tarfile.TarError, ValueError, EOFError, OSError) as error:
        raise Wrong(f"a router's part is no archive: {error}") from None
    return found


def settings(text):
    """{name: value} of the store as text."""
    return dict(line.split("=", 1) for line in text.decode(errors="replace").split("\n") if "=" in line)


def changes(before, after):
    """{name: [before, after]} of what is not the same; null is what is not there."""
    return {name: [before.get(name), after.get(name)] for name in sorted({*before, *after}) if before.get(name) != after.get(name)}


def hidden(found, secrets):
    return found if secrets else {name: [value and HIDDEN for value in values] if _SECRET.search(name) else values for name, values in found.items()}


def difference(before, after, secrets=False):
    """What is not the same at two moments, as JSON."""
    return {
        "routers": {
            name: router_difference(files(before.routers[name]), files(after.routers[name]), secrets)
            for name in sorted({*before.routers} & {*after.routers})
        },
        "clock": (after.about["clock"]["shown"] - before.about["clock"]["shown"]) / 1e9,
        "home": home_difference(before.home, after.home),
        "faults": [[found["fault"] for found in moment.faults or []] for moment in (before, after)],
    }  # fmt: skip


def tables(rules):
    """Of a list of rules, in any order."""
    return sorted(re.split(rb"(?m)^(?=table )", rules))


def router_difference(before, after, secrets):
    def item(of, name):
        return of.get(_OWN + name, ("", b""))[1]

    def own(of):
        return {path: content for path, content in of.items() if not path.startswith((_OWN, "flash/mib/", *_NOT_COMPARED)) and path != _SESSION}

    session = [found.get(_SESSION, (None, b""))[1] for found in (before, after)]
    return {
        "settings": hidden(changes(settings(item(before, "settings")), settings(item(after, "settings"))), secrets),
        "committed": hidden(changes(settings(item(before, "committed")), settings(item(after, "committed"))), secrets),
        "session": "same" if session[0] == session[1] else "begun" if not session[0] else "gone" if not session[1] else "another",
        "files": {path: "new" if old is None else "gone" if new is None else "changed" for path, (old, new) in changes(own(before), own(after)).items()},
        "network": item(before, "network") != item(after, "network"),
        "rules": tables(item(before, "rules")) != tables(item(after, "rules")),
    }  # fmt: skip


def home_difference(before, after):
    if before is None or after is None:
        return {}

    def devices(home):
        return {
            device["about"]["name"]: device["spot"] + ("" if device["connected"] else ", kept out" if device["waits"] is None else ", joining")
            for device in home["devices"]
        }  # fmt: skip

    def state(home):
        return {"steps": home["steps"], "wan": home["wan"], "internet": home["internet"], "moving": home["moving"], **{f"broken {name}": how for name, how in home["broken"].items()}}

    return {"devices": changes(devices(before), devices(after)), "state": changes(state(before), state(after))}
