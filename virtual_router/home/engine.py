# SPDX-License-Identifier: MIT
"""Plays a home beside a running router: writes what the router finds of it, does what the router's settings say to it, lets time
pass, and takes orders."""

import collections
import json
import os
import pathlib
import selectors
import socket
import subprocess
import time

import around
import clock
import rootfs
import sources
import traffic
import verbs
from model import Home

SOCKET = "home.sock"  # in the router's run folder
READY = "home.ready"  # there once the router's networks were seen and all is written
LOOK_SECONDS = 0.1  # how often the engine looks for changes of the router
MOST_ORDER_BYTES = 1 << 20
PATIENCE_SECONDS = 2  # with whoever gives an order
MOST_EVENTS = 1000


class Engine:
    """`run` is the run folder of the router's script, which holds the router's root. `seconds` is a clock for what takes time in
    the home, whatever the router's shows."""

    def __init__(self, about, run, moving, seconds=time.monotonic):
        self.home = Home(about)
        self.run = run
        self.root = rootfs.Root(run / "root")
        self.clock = clock.Clock(self.root)
        self.seconds = seconds
        self.broken = {}  # source -> how
        self.around = around.Around()
        self.events = collections.deque(maxlen=MOST_EVENTS)  # what happened: step and text
        self.written = {}
        self.written_to = None  # which root that was: a router that starts anew may have a new one
        self.seen = {}
        self.answers = None  # the networks that the provider answers for
        self.ready = False  # the router has come so far that the home could be written as it is
        self.looked = self.seconds()
        self.leases_seen = 0
        self.start_moving()
        self.moving = moving

    def start_moving(self):
        self.moving = True
        self.next_step = self.seconds() + self.home.about["pace"]

    def tell(self, text):
        """Notes what happened, and prints it."""
        self.events.append((self.home.steps, text))
        print(f"home: {text}", flush=True)

    def tell_all(self, happened):
        """Tells what happened to devices. Those to whom the same happened are told in one line."""
        together = {}
        for device, text in happened:
            together.setdefault(text, []).append(device.name)
        for text, names in together.items():
            self.tell(f"{names[0]} {text}" if len(names) == 1 else f"{len(names)} devices, {names[0]} among them: {text}")

    def look_around(self):
        """Takes over the settings that are in force in the router, and the phone's address. True: something is new."""
        root = self.root.identity()
        if root != self.written_to:
            self.written_to, self.written, self.seen = root, {}, {}
            self.home.wlan_starts = None
        if root is None:
            return False
        facts = {name: self.root.read(f"var/run/{name}") for name in around.FILES}
        try:
            phone = (self.run / "phone").read_text().strip()
        except OSError:
            phone = None
        new = {name for name, content in facts.items() if content is not None and content != self.seen.get(name)}
        for name in new:
            self.around.take(name, facts[name].decode(errors="backslashreplace"))
        changed = bool(new) or self.seen.get("phone") != phone
        self.seen = {**facts, "phone": phone}
        self.around.phone = phone or ""
        self.around.now = self.clock.now()
        if new & {"wlan", "mesh"} and self.around.networks:
            self.tell_all(self.home.obey(self.around))
        self.ready = self.ready or None not in self.seen.values()
        return changed

    def let_pass(self, seconds):
        """Time passes for those who are on their way into the Wi-Fi, also while the home stands still. True: somebody is there."""
        happened = self.home.pass_seconds(seconds)
        self.tell_all(happened)
        return bool(happened)

    def step(self):
        for device, page in self.home.step():
            self.ask(device, page)

    def ask(self, device, page):
        """A device asks for a page. Returns what comes of it; what the router has refused is told."""
        text, answered = traffic.ask(self.home, self.around, device, page)
        if not answered:
            self.tell(f"{device.name} asks for {page}: {text}")
        return text

    def lead_to_internet(self):
        """Has the provider answer for what there is of the Internet, where it is a network of its own, and pulls or plugs in its
        end of the cable."""
        provider = self.run / "networks/isp"
        internet = self.home.about["internet"] if self.home.has_internet() else []
        wanted = ["link set eth0 " + ("up" if self.home.wan else "down")] + [f"route replace local {network} dev lo" for network in internet]
        if wanted == self.answers or not provider.exists():
            return
        gone = [line.replace("replace", "del") for line in self.answers or () if line.startswith("route") and line not in wanted]
        ip = ["nsenter", f"--net={provider}", "ip", "-force", "-batch", "-"]
        subprocess.run(ip, input="\n".join(gone + wanted) + "\n", text=True, check=False)
        self.answers = wanted

    def write(self):
        """Writes what has changed, each file at once."""
        if self.written_to is None:
            return
        self.around.now = self.clock.now()
        self.home.renew_leases(self.around)
        self.lead_to_internet()
        for name, content in sources.files(self.home, self.around, self.broken).items():
            if name in self.written and self.written[name] == content:
                continue
            if content is None:
                self.root.remove(name)
                if name in sources.COPIES:
                    self.root.remove(sources.COPIES[name])
            else:
                self.root.write(name, content)
            self.written[name] = content
        if self.ready:
            (self.run / READY).touch()

    def look(self):
        """What is to be done every now and then."""
        changed = self.look_around()
        now = self.seconds()
        if self.written_to is not None:
            changed |= self.let_pass(now - self.looked)
        self.looked = now
        if self.moving and now >= self.next_step:
            self.step()
            self.next_step = max(self.next_step + self.home.about["pace"], now)
            changed = True
        if self.around.now != self.leases_seen:  # they count in seconds
            self.leases_seen = self.around.now
            changed |= self.home.renew_leases(self.around)
        if changed:
            self.write()

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
            self.look()
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
