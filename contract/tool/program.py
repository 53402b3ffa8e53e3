# SPDX-License-Identifier: MIT
"""The real program, asked in the sandbox of the cases: a factory-fresh router, with what a trial of the contract changes."""

import json
import pathlib
import shutil
import tempfile

from caseformat_text import caseformat, expand
from contract import PROJECT

import isolation  # of tests/runner, whose folder caseformat_text has put on the path
import sandbox
import verdict

FILES = {
    "/tmp/wscd_status": "0",
    "/tmp/topology_json": '{"station_info":[]}',
    "/etc/fwInfo.file": "Compile 10:00 2026-11-20\n",
    "/var/app_sessionid": "sessionid=Us4fb942caf223377fb611bc9c09d37f94",
    "/proc/rtl865x/port_status": "Port1 LinkUp | Speed\n",
}
COMMANDS = {
    "ifconfig br0": "br0       Link encap:Ethernet  HWaddr 02:4B:54:70:94:01\n",
    "leds getenable": "enable=1\n",
    "leds enable": "",
    "leds disable": "",
    "killall -0 fwupgtool 2>/dev/null": {"status": 1},
    "killall -USR1 speedtest 2>/dev/null": "",
    "wscd -sig_pbc wlan1": "",
    "echo 1 > /tmp/virtual_push_button": "",
    "echo wlan1 > /tmp/wscd_cancel ": "",
    "rm /var/app_sessionid": "",
}
# Tables that trials name: so many entries, each with another first byte.
TABLES = {"%ten%": [f"{number:02x}" for number in range(1, 11)], "%twenty%": [f"{number:02x}" for number in range(1, 21)]}
LOOPBACK = "127.0.0.1"


class Seen:
    """What a request did, in the form in which the cases tell it."""

    def __init__(self, body, seen, items, world):
        self.body, self.world = body, world
        self.reply = b"".join(seen["stdout"]).decode("utf-8", "surrogateescape")
        self.document = json.loads(self.reply) if self.reply else None
        self.events = [str(verdict.named(event, items)) for event in seen["log"]]
        self.queue = [int(record.split()[0]) for record in seen["queue"]]
        self.step = {"exit": seen["exit"]}


class Program:
    """A sandbox with the shipped program in it."""

    def __init__(self, build):
        self.missing = isolation.missing_right("plain")
        if self.missing:
            return
        self.items = caseformat.Items(PROJECT / "platform/items.conf")
        self.folder = tempfile.mkdtemp(prefix="contract-")
        build = pathlib.Path(build)
        self.sandbox = sandbox.Sandbox(tempfile.mkdtemp(dir=self.folder), build / "app.cgi", build / "tests/runner", self.items, "plain")
        self.store = factory_settings(self.items)

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def ask(self, body, trial=None):
        """Sends a request from the router itself to a router that is factory-fresh but for the trial's world."""
        trial = trial or {}
        store = {**self.store, **{name: TABLES.get(value, value) if isinstance(value, str) else value for name, value in trial.get("store", {}).items()}}
        world = {
            "store": store,
            "files": {**FILES, **trial.get("files", {})},
            "fail": trial.get("fail", []),
        }
        self.sandbox.prepare(world)
        step = {"remote_addr": trial.get("remote_addr", LOOPBACK), "commands": {**COMMANDS, **trial.get("commands", {})}}
        body = caseformat.to_bytes(body)
        return Seen(body, self.sandbox.run(step, body), self.items, world)

    def ask_object(self, action, name, value, trial=None):
        return self.ask(json.dumps({"action": action, name: expand(value)}, ensure_ascii=False), trial)


def factory_settings(items):
    """The defaults of platform/items.conf, as a case names them."""
    store = {}
    for name, item in items.by_name.items():
        if item.kind == "table":
            continue
        store[name] = item.default.strip('"') if item.kind in ("text", "ipv4") else int(item.default)
    return store
