# SPDX-License-Identifier: MIT
"""The keeper: owns what runs around script/server, from the first process to the last file. Whatever is started is started by
it, it hears of each end, and what it is told to stop leaves nothing."""

import asyncio
import contextlib
import functools
import json
import os
import re
import secrets
import signal
import socket
import sys
import time

import caretaker
import cgroup
import confinement
import console
import faults
import journal
import kernel
import network
import ports
import premises
import proot
import router
from premises import Premises
from router import Failed, shell_status

FIRST_SERVICE_SECONDS = 60
HOME_SECONDS = 60
END_SECONDS = 10
REPLY_SECONDS = 10  # that whoever has asked for a reboot or another LAN, or asks at that moment, has to get the reply
HOLD_SECONDS = 2  # that requests which are under way have to end before the router is looked at or changed as a whole
USE_SECONDS = 1  # between two looks at what a router uses up
FULL, ROOMY = 0.95, 0.8  # parts of what it may use: above, it is told; below that part of it, it is over
# A router has a dozen processes. Those of a bomb come and go, as most that it begins are refused.
FULL_OF = {"processes": 0.5}
MOST_FACT_BYTES = 4096
HOME_SOCKET = "home.sock"  # of the run folder
MOST_HOME_BYTES = 16 << 20  # of its answer
HOME_FILES = "project"  # the folder of the run folder with the home's programs
HOME_FOLDERS = ("virtual_router/home", "platform")  # of this project
# Files of /outside, and who hears of their change; the name "" stands for any.
TOLD_HOME, TOLD_NETWORK = {"clock", ""}, {"hosts", ""}
CLOCK = "outside/clock"  # of a router's root: when the PC's clock showed ..., the router's showed ..., up for ..., and the rate
NORMAL_RATE = 1000
SESSION = "var/app_sessionid"  # of a router's root
REMINDER_SECONDS = 60
BOOT = 1 / 4  # of an outage: the part in which the router is on, and its services come back
STATUS_OF_SIGNAL = {signal.SIGINT: 130, signal.SIGTERM: 143, signal.SIGHUP: 129}


class Stopped(Exception):
    """The router is to end with this status."""

    def __init__(self, status):
        super().__init__()
        self.status = status


class Part:
    """A program that the premises run."""

    def __init__(self, name, guest, lasting):
        self.name = name
        self.guest = guest
        self.lasting = lasting  # its end is the end of all
        self.since = time.time()
        self.ended = asyncio.get_running_loop().create_future()


class Keeper:
    def __init__(self, options, state, facts, layouts):
        self.options = options
        self.state = state
        self.facts = facts
        self.layouts = layouts
        self.journal = None if options.no_journal else journal.Journal()
        self.printer = console.Printer()
        self.say = self.printer.say
        self.folds = not options.all_lines and os.isatty(1)  # what is read later, by a person or a program, is there whole
        self.faults = faults.Faults(self.say, self.follow_faults, resident=options.resident)
        self.switched_off = None  # while a fault has the router off: what ends that
        self.parts = {}  # number -> Part
        self.last_part = 0
        self.routers = {}  # guest -> Router
        self.premises = None
        self.network = None
        self.ports = []
        self.outage = None  # the task of a reboot while the router is away
        self.rebooting = None  # the same to its end
        self.lan_lock = asyncio.Lock()
        self.hold_lock = asyncio.Lock()
        self.stop = asyncio.get_running_loop().create_future()
        self.up = False
        self.caretaker = None
        self.group = None  # the control group of everything virtual
        self.unbounded = None  # why there is none
        self.home_line = None  # the socket to the program that plays the home
        self.home_ready = asyncio.Event()
        self.moved = asyncio.Event()  # the LAN has been followed for the first time since the router is on

    # --- the premises ---

    async def order(self, verb, fds=(), **words):
        return await self.premises.order(verb, fds, **words)

    def hear(self, event):
        if event is None:
            self.end(1, "The premises have ended.")
        elif event["event"] == premises.ENDED:
            self.part_ended(event["number"], event["status"])
        elif event["name"] == "in force":
            self.tell_home()
        elif event["name"] == "outside":
            if not TOLD_HOME.isdisjoint(event["files"]):
                self.tell_home()
            if not TOLD_NETWORK.isdisjoint(event["files"]) and not self.outage and self.moved.is_set():
                self.background(self.follow_hosts())

    def background(self, work):
        task = asyncio.get_running_loop().create_task(work)

        def check(done):
            if not done.cancelled() and done.exception() and not isinstance(done.exception(), premises.Refused):
                self.end(1, f"keeper: {done.exception()!r}")

        task.add_done_callback(check)
        return task

    def end(self, status, why=None):
        if not self.stop.done():
            if why:
                print(why, file=sys.stderr, flush=True)
            self.stop.set_result(status)

    def part_ended(self, number, status):
        part = self.parts.pop(number, None)
        if part is None:
            return
        if not part.ended.done():
            part.ended.set_result(status)
        owner = self.routers.get(part.guest)
        if part.lasting and (part.guest is None or (owner and owner.on)):
            self.end(1, f"The router's {part.name} has ended with status {shell_status(status)}.")

    async def spawn(self, name, guest, argv, environment, fds, lasting=False, terminal=False, network=None):
        self.last_part += 1
        number = self.last_part
        part = self.parts[number] = Part(name, guest, lasting)
        part.number = number
        try:
            about = {"argv": argv, "environment": environment, "terminal": terminal, "network": network}
            await self.order("run", fds=fds, number=number, guest=guest, **about)
        except premises.Refused:
            self.parts.pop(number, None)
            raise
        return part

    async def with_pipe(self, name, guest, argv, environment, lasting=False, given=None, errors=True):
        """Starts a program whose output comes through a pipe, with its complaints or without, and whose input is nothing or a
        descriptor. Returns the part and the pipe's end."""
        null = os.open("/dev/null", os.O_RDWR | os.O_CLOEXEC)
        read, write = os.pipe2(os.O_CLOEXEC)
        try:
            return await self.spawn(name, guest, argv, environment, [null if given is None else given, write, write if errors else null], lasting), read
        except premises.Refused:
            os.close(read)
            raise
        finally:
            os.close(null)
            os.close(write)

    async def start_part(self, name, guest, argv, environment, say, prefix, given=None, lasting=True):
        part, read = await self.with_pipe(name, guest, argv, environment, lasting=lasting, given=given)
        console.LineReader(read, say, prefix)
        return part

    async def run(self, guest, argv, environment, reader):
        part, read = await self.with_pipe(argv[0], guest, argv, environment)
        lines = reader(read)
        status = await part.ended
        await lines.settle()
        return shell_status(status)

    async def outcome(self, guest, argv, environment, most, given=None, errors=True):
        """Runs a program to its end; `given` is its input as a descriptor. Returns its status and the first `most` bytes that it
        printed; without `errors` what it complains of is not among them."""
        part, read = await self.with_pipe(argv[0], guest, argv, environment, given=given, errors=errors)
        printed = console.Collector(read, most)
        status = await part.ended
        await printed.settle()
        printed.close()
        return shell_status(status), bytes(printed.data)

    async def collect(self, guest, argv, environment, most):
        _, printed = await self.outcome(guest, argv, environment, most)
        return printed

    async def open_in_root(self, path):
        found = await self.order("open", path=path)
        return found[0] if found else None

    # --- switching on and off ---

    def make_group(self):
        """Has everything virtual bounded together, as far as this machine lets whoever started the router do that."""
        try:
            self.group = cgroup.Group()
        except cgroup.NotDelegated as error:
            self.unbounded = str(error)

    def bound(self, pid):
        """Puts a process into the group, and all that it starts from then on."""
        if self.group:
            try:
                self.group.add(pid)
                self.state.note_group(self.group.folders)
            except OSError as error:
                self.group.remove()
                self.group, self.unbounded = None, error.strerror

    def tell_bounds(self, mode):
        """What is not bounded."""
        if self.group is None:
            count = "" if mode.own_network else "neither how many there are nor "
            self.say(
                f"Each program's memory has a bound, but {count or 'not '}what they use together: no control group can be made here ({self.unbounded})."
            )

    def clear_away(self):
        """In the caretaker's process: when all has ended."""
        if self.group:
            self.group.remove(END_SECONDS)
        self.state.clear_run()

    def caretaker_ended(self):
        self.caretaker.close()
        self.caretaker = None
        self.end(1, "The caretaker has ended.")

    async def found_premises(self):
        refusals = []
        for kind in self.options.modes:
            mode = kind(self.state.run, self.layouts(kind))
            try:
                connection = mode.found(self.bound)
            except OSError as error:
                refusals.append(str(error.strerror or error).strip().splitlines()[-1])
                continue
            if kind is proot.Mode:
                if self.options.agents:
                    connection.close()
                    raise Failed(f"--agents needs namespaces{f', which cannot be made here ({refusals[-1]})' if refusals else ''}")
                if refusals:
                    self.say(f"No namespaces can be made here, so proot and a stand-in for the network take their place ({refusals[-1]}).")
                for line in mode.warnings():
                    self.say(line)
            self.tell_bounds(mode)
            self.premises = Premises(mode, connection, self.hear)
            return mode
        raise Failed(f"neither namespaces can be made here nor does proot work: {'; '.join(refusals)}")

    async def start(self):
        self.make_group()
        self.caretaker = caretaker.Caretaker(self.clear_away, [self.state.lock], self.caretaker_ended)
        mode = await self.found_premises()
        kind = network.KernelNetwork if mode.own_network else network.FileNetwork
        self.network = kind(self.order, self.facts, self.options.phones, self.options.agents, self.say)
        for port in self.ports:
            port.attach(self.order, functools.partial(self.take_session, port.router))
        await self.network.make()
        await self.copy_home()
        texts = self.texts(mode)
        self.main = router.Router(self, "router", "", network.ROUTER, self.state.flash(), texts)
        self.routers["router"] = self.main
        await self.switch_on()
        await self.order("watch", name="outside", path="root/outside")
        if self.options.home:
            await self.play_home()
        for agent in self.network.agents:
            await self.start_agent(agent)
        await self.main.start_services()
        await self.await_lan()
        if self.options.home:
            await asyncio.wait_for(self.home_ready.wait(), HOME_SECONDS)
            await self.follow_hosts()
        await self.open_ports()
        self.up = True
        self.background(self.remind_of_faults())
        self.background(self.watch_use())

    def texts(self, mode):
        """The files of the root that are not the same for each router."""
        found = {}
        if mode.own_network:
            found[router.LISTEN_CONF] = 'server.bind = "0.0.0.0"\n'
        else:
            found[router.LISTEN_CONF] = (
                'server.modules += ( "mod_extforward" )\nserver.bind = "/var/run/http.sock"\n'
                'extforward.forwarder = ( "all" => "trust" )\nextforward.hap-PROXY = "enable"\n'
            )
            found.update(self.network.texts())
            found["etc/kernel-stand-in"] = self.network.interfaces()
        if self.network.agents:
            found["etc/agents"] = "".join(f"{agent.place} {agent.mac}\n" for agent in self.network.agents)
        return found

    async def switch_on(self, clock=None):
        await self.network.plug_in()
        for agent in self.network.agents if clock else ():
            await self.network.ip(agent.network, ["link set eth0 master br0 up"])
        await self.main.power_on()
        now = time.time_ns()
        shown, rate = clock or (now, NORMAL_RATE)
        await self.order("write", path=self.main.path(CLOCK), content=f"{now} {shown} 0 {rate}\n")
        await self.watch_in_force()
        await self.main.boot()
        if self.options.settings:
            await self.store_settings()

    async def store_settings(self):
        """Stores the settings of the home, unless they are those that were stored the last time: what was changed since then stays."""
        taken = self.state.flash() / "home-taken"
        settings = self.options.settings
        if taken.exists() and not taken.is_symlink() and taken.read_text() == settings:
            return
        for line in settings.splitlines():
            name, _, value = line.partition(" ")
            if await self.main.command(["flash", "set", name, value], "") != 0:
                raise Failed(f"the setting {name} of {self.options.home} cannot be stored")
        await self.main.command(["flash", "commit"], "")
        new = taken.with_suffix(".new")
        new.unlink(missing_ok=True)
        with open(os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW, 0o600), "w") as file:
            file.write(settings)
        new.replace(taken)

    async def await_lan(self):
        """Waits until the router has said what its LAN is."""
        waiting = asyncio.ensure_future(self.moved.wait())
        await asyncio.wait([waiting, self.stop], timeout=FIRST_SERVICE_SECONDS, return_when=asyncio.FIRST_COMPLETED)
        waiting.cancel()
        if self.stop.done():
            raise Stopped(self.stop.result())
        if not self.moved.is_set():
            raise Failed("the router's LAN does not come up")

    async def open_ports(self):
        """The ports are open when the web servers answer, for which a busy PC may take its time."""
        found = [("the router", self.network.phones[0], self.phone_target(0))]
        found += [(f"agent {agent.number}", agent, self.agent_target(index)) for index, agent in enumerate(self.network.agents)]
        for name, who, find_target in found:
            if who in self.network.addresses and not await self.answers(find_target):
                raise Failed(f"the web server of {name} does not answer")
        for port in self.ports:
            port.start()

    async def answers(self, find_target):
        deadline = time.monotonic() + FIRST_SERVICE_SECONDS
        while time.monotonic() < deadline and not self.stop.done():
            if await ports.answers(self.order, find_target()):
                return True
            await asyncio.sleep(0.02)
        return False

    # --- where the ports lead ---

    def phone_target(self, index):
        """Finds where the port of a phone leads at this moment."""

        def find():
            lan = self.network.lan
            phone = self.network.phones[index]
            if lan is None or phone not in self.network.addresses:
                return None
            if self.network_is_kernels():
                return ports.Target(phone.network, (str(lan.ip), 80))
            return ports.Target(None, None, f"PROXY TCP4 {self.network.addresses[phone]} {lan.ip} {{}} 80\r\n")

        return find

    def agent_target(self, index):
        def find():
            agent = self.network.agents[index]
            address = self.network.addresses.get(agent)
            return ports.Target(self.network.phones[0].network, (str(address), 80)) if address else None

        return find

    def loopback_target(self):
        if self.network_is_kernels():
            return ports.Target(network.ROUTER, ("127.0.0.1", 80))
        return ports.Target(None, None, "PROXY TCP4 127.0.0.1 127.0.0.1 {} 80\r\n")

    def address_of(self, port):
        """The address of the phone or the agent that a port is of."""
        kind, number = port.name.split(" ")
        who = {"phone": self.network.phones, "agent": self.network.agents}[kind][int(number) - 1]
        return self.network.addresses.get(who, "without an address")

    def phone_network(self, number):
        if not self.network_is_kernels():
            raise premises.Refused("there is no phone with a network where namespaces cannot be made")
        if not 1 <= number <= len(self.network.phones):
            raise premises.Refused(f"there is no phone {number}")
        return self.network.phones[number - 1].network

    def network_is_kernels(self):
        return isinstance(self.network, network.KernelNetwork)

    # --- the LAN and who is in it ---

    async def lan_moved(self, who, lan):
        if who is not self.main:
            return
        async with self.lan_lock:
            if lan == self.network.lan and self.moved.is_set():
                return
            await self.network.follow_lan(lan, self.cut_lan if self.moved.is_set() else lambda: None)
            for agent in self.network.agents:
                await self.give_lease(agent)
            self.moved.set()
            self.tell_home()

    def cut_lan(self):
        """Whoever was connected by the LAN that was is cut off."""
        for port in self.ports:
            if port.name != "router":
                port.cut()

    async def replies_sent(self, guest):
        """Waits until those have their replies who wait for one of this router's at this moment. Not for long: a reply may never come."""
        waiting = [(port, exchange) for port in self.ports if port.router == guest for exchange in port.awaiting]
        await settled(lambda: not any(exchange in port.awaiting for port, exchange in waiting))

    async def follow_hosts(self):
        async with self.lan_lock:
            await self.network.follow_hosts()

    # --- agents ---

    async def start_agent(self, agent):
        guest = f"agent{agent.number}"
        folder = f"agents/{agent.number}"
        await self.order("folder", path=folder)
        await self.network.ip(agent.network, [f"link add br0 address {agent.mac} type bridge", "link set eth0 master br0 up"])
        texts = {router.LISTEN_CONF: 'server.bind = "0.0.0.0"\n', "etc/items.conf": agent_items(self.items, agent.number)}
        found = self.routers[guest] = router.Router(self, guest, folder, agent.network, self.state.flash(agent.number), texts, f"agent {agent.number}")
        await found.power_on()
        await found.boot()
        if agent in self.network.addresses:
            await self.give_lease(agent)

    async def give_lease(self, agent):
        """Gives an agent its address and its default route, as the router's DHCP server would."""
        found = self.routers.get(f"agent{agent.number}")
        address, lan = self.network.addresses.get(agent), self.network.lan
        if not found or not found.on or not address:
            return
        await self.order("write", path=found.path("var/run/lan-lease"), content=f"{address} {lan.netmask} {lan.ip}\n")
        if found.started:
            await found.command(["initlan"], "initlan")
        else:
            found.started = True
            self.background(found.start_services())

    # --- the home ---

    async def copy_home(self):
        """Puts the home's programs where a user whom nobody else is can read them."""
        for folder in HOME_FOLDERS:
            await self.order("folder", path=f"{HOME_FILES}/{folder}")
            for path in sorted((self.options.project / folder).glob("*.*")):
                await self.order("write", path=f"{HOME_FILES}/{folder}/{path.name}", content=path.read_text())
        if self.options.home:
            await self.order("write", path=f"{HOME_FILES}/{self.options.home.name}", content=self.options.home.read_text())

    def home_command(self, *words):
        run = self.premises.mode.run
        return ["/usr/bin/python3", "-B", f"{run}/{HOME_FILES}/virtual_router/home/home.py", *words]

    async def play_home(self):
        run = self.premises.mode.run
        file = f"{run}/{HOME_FILES}/{self.options.home.name}"
        facts = self.facts
        words = ["play", file, facts["PHONE_MAC"], facts["PHONE_PLACE"], facts["ROUTER_LAN_MAC"], run, "yes" if self.options.still else "no"]
        self.home_line, given = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.home_line.setblocking(False)
        asyncio.get_running_loop().add_reader(self.home_line, self.hear_home)
        with given:
            await self.start_part("home", None, self.home_command(*words), self.tool_environment(), self.say, None, given.fileno())
        await self.watch_in_force()

    async def watch_in_force(self):
        """Has the home hear of each change of the settings that are in force in the router, which is on."""
        if self.home_line:
            await self.order("watch", name="in force", path=self.main.path("var/run"))
            self.tell_home()

    def tell_home(self):
        """Something of the router may have changed: the home looks. It has the phone's address with it."""
        if self.home_line:
            phone = str(self.network.addresses.get(self.network.phones[0], "")) if self.moved.is_set() else None
            with contextlib.suppress(OSError):  # a home that has not heard so many looks anyway; one that has ended is told of otherwise
                self.home_line.send(json.dumps({"phone": phone}).encode())

    def hear_home(self):
        """It says one thing: that it is ready. Later it ends."""
        try:
            said = self.home_line.recv(MOST_FACT_BYTES)
        except OSError:
            said = b""
        if said:
            self.home_ready.set()
        else:
            asyncio.get_running_loop().remove_reader(self.home_line)

    def tool_environment(self):
        """Of the PC's programs that run beside the router."""
        kept = {name: os.environ[name] for name in ("PATH", "LANG", "LC_ALL") if name in os.environ}
        return {**kept, "PYTHONDONTWRITEBYTECODE": "1", "HOME": "/"}

    # --- what it uses up ---

    async def watch_use(self):
        """Tells when a router has used up what it may, which is its own trouble and not the PC's."""
        told, ended = set(), 0
        while not self.stop.done():
            before, ended = ended, self.group.ended() if self.group else 0
            if ended > before:
                most = confinement.ALL_BYTES // confinement.MEBIBYTE
                self.main.say(f"router: in trouble: {most} MiB are all the memory there is for its programs together, so that {ended - before} had to end")
            for found in [found for found in self.routers.values() if found.on]:
                try:
                    use = await self.order("use", guest=found.guest)
                except premises.Refused:  # it has just been switched off
                    continue
                for what, (used, most) in use.items():
                    full = FULL_OF.get(what, FULL) * most
                    if used >= full and (found, what) not in told:
                        told.add((found, what))
                        found.say(f"router: in trouble: it uses up its {what} ({used} of {most})")
                    elif used < ROOMY * full and (found, what) in told:
                        told.discard((found, what))
                        found.say(f"router: it has room for {what} again")
            await asyncio.sleep(USE_SECONDS)

    # --- a moment at which nobody asks ---

    @contextlib.asynccontextmanager
    async def held(self):
        """Requests that come meanwhile wait; those that are under way have a moment to end."""
        async with self.hold_lock:
            for port in self.ports:
                port.passing.clear()
            try:
                deadline = time.monotonic() + HOLD_SECONDS
                while any(port.in_flight for port in self.ports) and time.monotonic() < deadline:
                    await asyncio.sleep(0.002)
                yield
            finally:
                for port in self.ports:
                    port.passing.set()

    # --- an outage ---

    def reset_wanted(self, who):
        """A router is to start anew. It hears "done" first."""
        if who is self.main and not self.outage:
            self.outage = self.rebooting = self.background(self.reboot())

    def power_gone(self, who):
        if who is self.main and not self.outage:
            self.say("router: its power is cut")
            self.outage = self.rebooting = self.background(self.reboot(notice=0))

    # --- faults ---

    def follow_faults(self):
        """They have changed."""
        for port in self.ports:
            if self.faults.refuses(port.phone):
                port.refuse()
                port.cut()
            elif self.up and not self.away():
                port.start()
        wanted = next((found for found in self.faults.armed.values() if found.call == faults.ROUTER), None)
        if self.switched_off and not wanted:
            self.switched_off.set()
            self.switched_off = None
        elif wanted and not self.switched_off and not self.away():
            how, _, seconds = wanted.how.partition(":")
            self.shut_ports()  # at once, so that whoever has armed it finds it so
            if how == "off":
                self.switched_off = asyncio.Event()
                self.outage = self.rebooting = self.background(self.reboot(notice=0, until=self.switched_off))
            else:
                self.outage = self.rebooting = self.background(self.reboot(notice=0, seconds=max(1, int(seconds)), fault=wanted.number))

    def away(self):
        return bool(self.rebooting) and not self.rebooting.done()

    async def take_session(self, guest, how):
        found = self.routers[guest]
        if how == "lost":
            await found.command(["rm", "-f", f"/{SESSION}"], "")
        else:
            await self.order("write", path=found.path(SESSION), content=f"sessionid=Us{secrets.token_hex(16)}")

    async def remind_of_faults(self):
        while not self.stop.done():
            await asyncio.sleep(REMINDER_SECONDS)
            if banner := self.faults.banner():
                self.say(banner)

    def shut_ports(self):
        """Nobody answers there any more."""
        for port in self.ports:
            port.refuse()
            port.cut()

    async def outage_over(self):
        """Waits until the router is back from a reboot that was asked for."""
        if self.rebooting:
            await asyncio.wait([self.rebooting, self.stop], return_when=asyncio.FIRST_COMPLETED)

    async def reboot(self, notice=0.5, seconds=None, until=None, fault=None):
        """`notice`: the reply to whoever asked for it is on its way, and so is what the system daemon says of it. `until` keeps it off
        until it is set; `fault` is the one that is over with this."""
        seconds = seconds or self.options.outage
        if notice:
            await asyncio.sleep(notice)
            await self.replies_sent(self.main.guest)
            await settled(lambda: not self.main.deeds.silent)
        clock = await self.clock()
        ends = time.monotonic() + seconds
        # Whoever hears that it is away finds it so.
        self.shut_ports()
        self.say("router: it is off" if until else f"router: it starts anew, and is away for {seconds:g} s")
        await self.main.power_off()
        self.moved.clear()
        self.tell_home()
        async with self.lan_lock:
            await self.network.unplug()
        if until:
            await until.wait()
            ends = time.monotonic() + seconds * BOOT
        else:
            await asyncio.sleep(seconds * (1 - BOOT))
        await self.switch_on(clock)
        self.outage = None
        await self.main.start_services(pause=seconds * BOOT / len(router.SERVICES))
        await self.await_lan()
        await self.follow_hosts()
        await asyncio.sleep(ends - time.monotonic())  # it is at once where that is over
        await self.open_ports()
        self.say("router: it has started anew; what was not committed is gone, and so is the session")
        if fault in self.faults.armed:
            self.rebooting = None
            self.faults.clear(fault)

    async def clock(self):
        """What the router's clock shows, and its rate; a clock goes on while the router is off."""
        shown, _, rate = await self.clock_numbers()
        return shown, rate

    async def clock_numbers(self):
        """What the router's clock shows at this moment, how long it is up, both in nanoseconds, and its rate in thousandths."""
        text = await premises.read(self.order, self.main.path(CLOCK), MOST_FACT_BYTES)
        now = time.time_ns()
        if not re.fullmatch(r"-?\d{1,19} -?\d{1,19} -?\d{1,19} \d{1,9}\n?", text):
            return now, time.clock_gettime_ns(time.CLOCK_BOOTTIME), NORMAL_RATE
        pc, shown, up, rate = map(int, text.split())
        passed = (now - pc) * rate // NORMAL_RATE
        return shown + passed, up + passed, rate

    async def ask_home(self, *words):
        """What the program that plays the home answers to an order: an exit status and a text."""
        (fd,) = await self.order("connect", path=HOME_SOCKET)
        reader, writer = await asyncio.open_unix_connection(sock=socket.socket(fileno=fd), limit=MOST_HOME_BYTES)
        try:
            async with asyncio.timeout(HOME_SECONDS):
                writer.write(json.dumps(words).encode() + b"\n")
                status, text = json.loads(await reader.readline())
        finally:
            writer.close()
        return status, text

    # --- until the end ---

    async def introduction(self):
        phone = self.network.addresses.get(self.network.phones[0])
        return {
            "phone": str(phone) if phone else "",
            "user": await self.main.setting("MIB_USER_NAME"),
            "password": await self.main.setting("MIB_USER_PASSWORD"),
        }

    async def close(self):
        for port in self.ports:
            port.close()
        if self.outage:
            self.outage.cancel()
        if self.caretaker:
            self.caretaker.close()
        if self.premises:
            self.premises.close()
        await asyncio.to_thread(reap, time.monotonic() + END_SECONDS)
        if self.home_line:
            self.home_line.close()
        self.clear_away()  # where the caretaker did not
        self.printer.close()


async def settled(condition):
    """Waits until the condition holds, for some seconds at most."""
    deadline = time.monotonic() + REPLY_SECONDS
    while not condition() and time.monotonic() < deadline:
        await asyncio.sleep(0.01)


def reap(deadline):
    """Waits for the end of all that was started, and sees to it."""
    while True:
        try:
            if os.waitpid(-1, os.WNOHANG)[0] == 0:
                time.sleep(0.002)
        except ChildProcessError:
            return
        if time.monotonic() > deadline:
            for pid in kernel.children():
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)


def agent_items(items, number):
    """The definitions of a router's settings for an agent, which leaves the factory as one, with a name and a number of its own."""
    for pattern, replacement in (
        (r'(?m)^((?:186|2389) [^"\n]*)"[^"\n]*"', rf'\1"Agent {number}"'),
        (r'(?m)^(4200 [^"\n]*"[^"\n]*)."', rf'\g<1>{number}"'),
        (r"(?m)^(2386 .*?global +)0", r"\g<1>2"),
        (r"(?m)^(192 .*?global +)0", r"\g<1>1"),
        (r"(?m)^(173 .*?global +)2", r"\g<1>1"),
    ):
        items = re.sub(pattern, replacement, items)
    return items
