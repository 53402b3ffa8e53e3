# SPDX-License-Identifier: MIT
"""script/router snapshot: the words, and how what is answered is printed."""

import pathlib
import time

USAGE = """\
Usage: script/router snapshot [VERB [WORD...]]

Saves all as it is: both copies of the store, session, files, addresses, rules, home and its chances, clock. Later the running router is
made the same again.

  list                    what is saved (as without a verb)
  save NAME [--replace]   save all as it is now
  restore NAME            make all what it was then
  diff NAME [OTHER] [--secrets]  tell what has changed since then, or until another snapshot
  export NAME FILE        write a snapshot to a file, which any router like this one can take
  import FILE [NAME] [--replace]  take a snapshot from a file
  remove NAME             remove a snapshot"""
FILE_KIND = "application/octet-stream"


def listed(control):
    for found in control.ask("GET", "/api/snapshots"):
        saved = time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(found["saved"]))
        print(f"{found['name']:<24}  {saved}  {found['bytes'] // 1024:>6} KiB")


def save(control, name, replace=False):
    control.ask("POST", f"/api/snapshots/{name}", {"replace": replace})


def restore(control, name):
    print(f"restored in {control.ask('POST', f'/api/snapshots/{name}/restore', {})['milliseconds']} ms")


def lines_of(title, changes):
    for name, (before, after) in changes.items():
        yield f"{title} {name}: {'-' if before is None else before} -> {'-' if after is None else after}"


def diff(control, name, other=None, secrets=False):
    query = {**({"with": other} if other else {}), **({"secrets": "true"} if secrets else {})}
    found = control.ask("GET", f"/api/snapshots/{name}/diff", **query)
    lines = []
    for router, changes in found["routers"].items():
        who = "" if router == "router" else f"{router}: "
        lines += [f"{who}{line}" for title in ("settings", "committed") for line in lines_of(title, changes[title])]
        lines += [f"{who}file {path}: {what}" for path, what in changes["files"].items()]
        lines += [f"{who}session: {changes['session']}"] if changes["session"] != "same" else []
        lines += [f"{who}{what}: changed" for what in ("network", "rules") if changes[what]]
    lines += [*lines_of("device", found["home"].get("devices", {})), *lines_of("home", found["home"].get("state", {}))]
    before, after = found["faults"]
    lines += [f"fault {line}: cleared" for line in before if line not in after] + [f"fault {line}: armed" for line in after if line not in before]
    print("\n".join([*lines, f"clock: {found['clock']:+.0f} s"]))


def write_out(control, name, file):
    pathlib.Path(file).write_bytes(control.ask("GET", f"/api/snapshots/{name}/file"))


def take_in(control, file, name=None, replace=False):
    path = pathlib.Path(file)
    query = {"replace": "true"} if replace else {}
    control.ask("PUT", f"/api/snapshots/{name or path.name.removesuffix('.snapshot')}/file", path.read_bytes(), FILE_KIND, **query)


def remove(control, name):
    control.ask("DELETE", f"/api/snapshots/{name}")


# verb: function, the fewest and the most words, the options
VERBS = {
    "list": (listed, 0, 0, ()), "save": (save, 1, 1, ("replace",)), "restore": (restore, 1, 1, ()), "diff": (diff, 1, 2, ("secrets",)),
    "export": (write_out, 2, 2, ()), "import": (take_in, 1, 2, ("replace",)), "remove": (remove, 1, 1, ()),
}  # fmt: skip


def act(control, words, wrong_call):
    """`wrong_call` is raised with a text where the words make no sense."""
    verb, *rest = words or ["list"]
    if verb == "help":
        print(USAGE)
        return
    if verb not in VERBS:
        raise wrong_call(f"there is no verb '{verb}' (script/router snapshot help)")
    function, fewest, most, options = VERBS[verb]
    given = {word[2:]: True for word in rest if word.startswith("--")}
    rest = [word for word in rest if not word.startswith("--")]
    if not fewest <= len(rest) <= most or given.keys() - {*options}:
        raise wrong_call(f"script/router snapshot {verb} is called otherwise (script/router snapshot help)")
    function(control, *rest, **given)
