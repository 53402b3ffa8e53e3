# SPDX-License-Identifier: MIT
"""A router: what runs in it, since when, and how it is switched on and off."""

import asyncio
import os
import re
import time

import board
import console
import deeds
import flash
import premises
import tap

ENVIRONMENT = {"PATH": "/bin:/sbin"}
MOST_COMMAND_OUTPUT = 1 << 16
LISTEN_CONF = "etc/lighttpd-listen.conf"

# name, command, and the name that stands before each line that it prints; the lines of the system daemon have one.
DAEMON = "system daemon"
SERVICES = (
    (DAEMON, ["system_daemon"], None),
    ("pairing daemon", ["wscd"], "wscd"),
    ("DHCP server", ["udhcpd", "-f"], "udhcpd"),
)
SHORT_LIFE = 1  # second
RESIDENT = ("resident endpoint", ["app.scgi"], "endpoint")
WEB_SERVER = ("web server", ["/usr/sbin/lighttpd", "-D", "-f", "/etc/lighttpd.conf"], "lighttpd")


class Failed(Exception):
    """A router could not be started; the text says why."""


class Router:
    """One router of the premises. `keeper` has order(), run(), say() and, for the router's wishes, lan_moved(),
    replies_sent() and reset_wanted()."""

    def __init__(self, keeper, guest, folder, network, flash_folder, texts, title=""):
        self.keeper = keeper
        self.guest = guest
        self.folder = folder
        self.network = network
        self.flash = flash.Flash(flash_folder)
        self.texts = texts
        self.title = title  # stands before its lines, where there are several
        self.board = None
        self.console = None
        self.deeds = deeds.Deeds(self.say, keeper.folds, keeper.journal)
        self.tap = None
        self.on = False
        self.since = None
        self.started = False  # its services

    def path(self, name):
        return os.path.join(self.folder, "root", name)

    def say(self, line):
        self.keeper.say(f"{self.title}: {line}" if self.title else line)

    async def power_on(self):
        files, lines = self.flash.open_all()
        for line in lines:
            self.say(line)
        try:
            listener, pipe, *tapped = await self.keeper.order(
                "power_on", fds=[*files.values()], guest=self.guest, folder=self.folder, network=self.network,
                texts=self.texts, flash=[*files], tapped=self.keeper.journal is not None,
            )  # fmt: skip
        finally:
            for fd in files.values():
                os.close(fd)
        self.on, self.since = True, time.time()
        self.board = board.Board(listener, self)
        self.console = console.LineReader(pipe, self.say, "console")
        self.tap = tap.Tap(tapped[0], self.guest, self.keeper.journal, self.deeds) if tapped else None

    async def boot(self):
        """Makes its settings ready."""
        status = await self.command(["flash", "boot"], "")
        if status != 0:
            raise Failed(f"flash boot failed with status {status}")

    async def start(self, service, lasting=True):
        """Starts a part that is to run as long as the router does; one that is not lasting may end before."""
        name, command, prefix = service
        say = self.deeds.hear if name == DAEMON else self.say
        name = f"{self.title or 'router'}'s {name}" if self.title else name
        return await self.keeper.start_part(name, self.guest, command, ENVIRONMENT, say, prefix, lasting=lasting)

    async def respawn(self, service):
        """Keeps a part running that may end, as a router's init does: it is started anew, a second later if it was short-lived."""
        since = self.since
        while True:
            part = await self.start(service, lasting=False)
            status = shell_status(await part.ended)
            if not self.on or self.since != since:
                return
            self.say(f"router: the {service[0]} has ended with status {status}, and is started anew")
            if time.time() - part.since < SHORT_LIFE:
                await asyncio.sleep(SHORT_LIFE)

    async def start_services(self, pause=0):
        """Starts the services, and has the networks come up meanwhile; with a pause after each, one after another."""
        if self.keeper.options.resident:
            self.keeper.background(self.respawn(RESIDENT))
        for service in SERVICES:
            await self.start(service)
            await asyncio.sleep(pause)
        if not pause:
            await self.start(WEB_SERVER)
        await self.command(["startup"], "startup")
        if pause:
            await self.start(WEB_SERVER)

    async def command(self, argv, name):
        """Runs a command of the router to its end, and says what it prints. Returns its status."""
        return await self.keeper.run(self.guest, argv, ENVIRONMENT, lambda read: console.LineReader(read, self.say, name))

    async def output(self, argv):
        """What a command of the router prints."""
        return (await self.keeper.collect(self.guest, argv, ENVIRONMENT, MOST_COMMAND_OUTPUT)).decode(errors="replace")

    async def setting(self, name):
        return re.sub(r"\A[^=]*=", "", (await self.output(["flash", "get", name])).removesuffix("\n"))

    async def power_off(self):
        if not self.on:
            return
        self.on = False
        self.board.close()
        self.console.read()
        self.console.close()
        await self.keeper.order("power_off", guest=self.guest)
        if self.tap:
            self.tap.close()
        self.deeds.forget()

    # --- what the router asks of its board ---

    async def keep(self, name):
        try:
            flash.most_bytes(name)
            source = await self.keeper.open_in_root(self.path(f"flash/{name}"))
            try:
                await self.flash.keep(name, source)
            finally:
                if source is not None:
                    os.close(source)
        except (flash.NotKept, OSError, premises.Refused) as error:
            why = getattr(error, "strerror", None) or error
            self.say(f"flash: {console.printable(name.encode())} is not kept: {why}")
            raise board.Refused(str(why)) from None

    async def lan(self, interface):
        await self.keeper.lan_moved(self, interface)

    async def replies(self):
        await self.keeper.replies_sent(self.guest)

    async def reset(self):
        self.keeper.reset_wanted(self)

    async def cut(self):
        self.keeper.power_gone(self)


def shell_status(status):
    """As a shell tells it."""
    return 128 - status if status < 0 else status
