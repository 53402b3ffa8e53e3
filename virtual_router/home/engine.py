"""Plays a home beside a running router: writes what the router finds of it, lets time pass, and takes orders."""

import ipaddress
import json
import os
import pathlib
import selectors
import socket
import subprocess
import time

import sources
import verbs
from model import Home

SOCKET = "home.sock"  # in the router's run folder
READY = "home.ready"  # there once the router's networks were seen and all is written
LOOK_SECONDS = 0.1  # how often the engine looks for changes of the router
MOST_ORDER_BYTES = 1 << 20
PATIENCE_SECONDS = 2  # with whoever gives an order


class Engine:
    """`run` is the run folder of the router's script, which holds the router's root."""

    def __init__(self, about, run, moving):
        self.home = Home(about)
        self.run = run
        self.root = run / "root"
        self.broken = {}  # source -> how
        self.around = sources.Around()
        self.written = {}
        self.seen = None
        self.ready = False  # the router has come so far that the home could be written as it is
        self.start_moving()
        self.moving = moving

    def start_moving(self):
        self.moving = True
        self.next_step = time.monotonic() + self.home.about["pace"]

    def set_wan(self, up):
        if up and not self.home.wan:
            self.around.wan_since = str(int(time.time()))
        self.home.wan = up
        # Where the provider is a network of its own, its end of the cable is pulled.
        provider = self.run / "networks/isp"
        if provider.exists():
            subprocess.run(["nsenter", f"--net={provider}", "ip", "link", "set", "eth0", "up" if up else "down"], check=False)

    def look_around(self):
        """Takes over what the router's commands say of it: the LAN's address and mask, the WAN's type and since when it is
        up, the role in the mesh, the phone's address. True: something is new."""
        facts = [read_words(path) for path in (*(self.root / "var/run" / name for name in ("lan", "wan", "mesh")), self.run / "phone")]
        if facts == self.seen:
            return False
        lan, wan, mesh, phone = facts
        if wan and (self.seen is None or wan != self.seen[1]):
            self.around.wan_type, self.around.wan_since = wan[0], wan[-1]
        self.seen = facts
        try:
            self.around.lan = ipaddress.IPv4Interface("/".join(lan or []))
        except ValueError:  # twice "none", where there is no address
            self.around.lan = None
        self.around.mesh_role = mesh[0] if mesh else None
        self.around.phone = phone[0] if phone else ""
        self.ready = self.ready or None not in facts
        return True

    def write(self):
        """Writes what has changed, each file at once."""
        for name, content in sources.files(self.home, self.around, self.broken).items():
            path = self.root / name
            if name in self.written and self.written[name] == content:
                continue
            if content is None:
                path.unlink(missing_ok=True)
                if name in sources.COPIES:
                    (self.root / sources.COPIES[name]).unlink(missing_ok=True)
            else:
                path.parent.mkdir(parents=True, exist_ok=True)
                new = path.with_name(path.name + ".new")
                new.write_bytes(content)
                new.replace(path)
            self.written[name] = content
        if self.ready:
            (self.run / READY).touch()

    def serve(self):
        """Runs for ever."""
        os.chdir(self.run)  # a socket's path may be about a hundred bytes long only
        listener = socket.socket(socket.AF_UNIX)
        pathlib.Path(SOCKET).unlink(missing_ok=True)
        listener.bind(SOCKET)
        listener.listen()
        orders = selectors.DefaultSelector()
        orders.register(listener, selectors.EVENT_READ)
        while True:
            changed = self.look_around()
            if self.moving and time.monotonic() >= self.next_step:
                self.home.step()
                self.next_step = max(self.next_step + self.home.about["pace"], time.monotonic())
                changed = True
            if changed:
                self.write()
            if orders.select(LOOK_SECONDS):
                self.take_order(listener)

    def take_order(self, listener):
        """An order is an array of words, the answer an array of an exit status and a text; it is given when it is done."""
        connection, _ = listener.accept()
        with connection:
            connection.settimeout(PATIENCE_SECONDS)
            try:
                with connection.makefile("rb") as lines:
                    words = json.loads(lines.readline(MOST_ORDER_BYTES))
                status, text = verbs.act(self, [str(word) for word in words])
                self.write()
                connection.sendall(json.dumps([status, text]).encode() + b"\n")
            except (OSError, ValueError, TypeError) as error:
                print(f"home: an order was not understood: {error}", flush=True)


def read_words(path):
    """The words of a small file; None if there is none."""
    try:
        return path.read_text(errors="replace").split()
    except OSError:
        return None
