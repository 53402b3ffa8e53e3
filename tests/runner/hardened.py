# SPDX-License-Identifier: MIT
"""The cases against the hardened build: the same requests, replies and store, reached in other ways.

What a case lays out and expects for the default build is laid out and expected here as the hardened build has it; what it
changes on purpose, so that a case cannot be kept, stands by name in tests/hardened/changed.toml.
"""

import re
import tomllib

SESSION_FILE = "/var/app_sessionid"
OWN_FILES = (  # the hardened build's own, of which no case for both builds speaks
    "/var/app_sessionid.logins",
)
MOST_CHANGED = 0.05  # of all cases


class TableError(Exception):
    """The table of changed cases says something that is not so."""


def translate(case):
    """The case as the hardened build has it."""
    world, steps = dict(case["world"]), [dict(step) for step in case["steps"]]
    if "files" in world:
        world["files"] = session_of(world["files"], steps[0].get("remote_addr", ""))
    for step in steps:
        if "files_after" in step:
            step["files_after"] = session_of(step["files_after"], step.get("remote_addr", ""))
    return {**case, "world": world, "steps": steps}


def session_of(files, address):
    """A session of a moment ago, of the client that asks."""
    content = files.get(SESSION_FILE)
    if not isinstance(content, str) or not re.fullmatch(r"sessionid=\S+", content):
        return files
    terms = f"{content}\nsince=%TIME()%\nused=%TIME()%\naddress={address}\n"
    return {**files, SESSION_FILE: terms}


def without_own_files(files, step):
    """The files that were seen, without those of the build's own that the step does not speak of."""
    return {path: content for path, content in files.items()
            if path not in OWN_FILES or path in step.get("files_after", {})}


def read_changed(path, names):
    """Case name -> why it is changed. A name with "*" at its end means all that begin so."""
    changed = {}
    for row in tomllib.loads(path.read_text())["changed"]:
        for name in row["cases"]:
            meant = [known for known in names if known == name or name.endswith("*") and known.startswith(name[:-1])]
            if not meant:
                raise TableError(f"{path}: there is no case {name!r}")
            for known in meant:
                if known in changed:
                    raise TableError(f"{path}: {known!r} is there twice")
                changed[known] = f"{row['option']}: {row['reason']}"
    if len(changed) >= MOST_CHANGED * len(names):
        raise TableError(f"{path}: {len(changed)} cases of {len(names)} are changed, that is not under {MOST_CHANGED:.0%}")
    return changed
