# SPDX-License-Identifier: MIT
"""Plays a home beside a running router: writes what the router finds of it, does what the router's settings say to it, lets time
pass, and takes orders.

It sleeps until something is due, or until it hears of something: the keeper tells, as JSON, whenever something of the router may
have changed, and each time the phone's address ({"phone": ADDRESS}; "" is none, null that it is about to get one). The home tells
the keeper once that it is {"ready": true}.
"""

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
GATHER_SECONDS = 0.05  # what changes together is looked at once, and no router can keep the home busy with it
MOST_NEWS_BYTES = 4096
MOST_ORDER_BYTES = 16 << 20  # the state of a full house is 2 MB
PATIENCE_SECONDS = 10  # with whoever gives an order
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
        self.phone = None  # as the keeper tells it
        self.ready = False  # the router's networks were seen, so that the home could be written as it is
        self.told_ready = False
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
        new = {name for name, content in facts.items() if content is not None and content != self.seen.get(name)}
        for name in new:
            self.around.take(name, facts[name].decode(errors="backslashreplace"))
        changed = bool(new) or self.seen.get("phone") != self.phone
        self.seen = {**facts, "phone": self.phone}
        self.around.phone = self.around.phone if self.phone is None else self.phone
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
        """Writes what has changed, each file at once. What a router has no room for is written when it has."""
        if self.written_to is None:
            return
        self.around.now = self.clock.now()
        self.home.renew_leases(self.around)
        self.lead_to_internet()
        for name, content in sources.files(self.home, self.around, self.broken).items():
            if name in self.written and self.written[name] == content:
                continue
            try:
                if content is None:
                    self.root.remove(name)
                    if name in sources.COPIES:
                        self.root.remove(sources.COPIES[name])
                else:
                    self.root.write(name, content)
            except OSError:
                self.written.pop(name, None)
                continue
            self.written[name] = content

    def look(self):
        """Takes over what is new of the router, and does what is due."""
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

    def due_in(self):
        """The seconds until something happens by itself; None: nothing will. Who waits for room in a full table hears of it otherwise."""
        since = self.seconds() - self.looked
        waits = [device.waits - since for device in self.home.devices if device.waits is not None and device.waits > 0]
        if self.moving:
            waits.append(self.next_step - self.seconds())
        router, _, rate = self.clock.read()
        lease = self.home.next_lease_change(self.around)
        if lease is not None and rate > 0:
            # Leases count in seconds: there is nothing to do more often.
            waits.append(max(1, lease - router / clock.SECOND) * clock.RATE_UNIT / rate)
        return max(0, min(waits)) if waits else None

    def hear(self, keeper):
        """Takes all that the keeper has told. False: it has gone."""
        time.sleep(GATHER_SECONDS)
        while True:
            try:
                news = keeper.recv(MOST_NEWS_BYTES, socket.MSG_DONTWAIT)
            except BlockingIOError:
                return True
            if not news:
                return False
            self.phone = json.loads(news)["phone"]

    def serve(self, keeper):
        """Runs until the keeper has gone. `keeper` is a socket."""
        os.chdir(self.run)  # a socket's path may be about a hundred bytes long only
        listener = socket.socket(socket.AF_UNIX)
        pathlib.Path(SOCKET).unlink(missing_ok=True)
        listener.bind(SOCKET)
        listener.listen()
        sources_of_news = selectors.DefaultSelector()
        for source in (listener, keeper):
            sources_of_news.register(source, selectors.EVENT_READ)
        while True:
            self.look()
            if self.ready and not self.told_ready:
                self.told_ready = True
                keeper.send(json.dumps({"ready": True}).encode())
            ready = [key.fileobj for key, _ in sources_of_news.select(self.due_in())]
            if listener in ready:
                self.take_order(listener)
            if keeper in ready and not self.hear(keeper):
                return

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
