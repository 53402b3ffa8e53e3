# SPDX-License-Identifier: MIT
"""Called by script/server, which has checked the options, installed and built what is needed:

keeper --project DIR --build DIR --state DIR --port N [--loopback-port N] [--control-port N] [OPTION...]

Keeps a router running until it is told to stop. Exit status: 130, 143 or 129 when SIGINT, SIGTERM or SIGHUP did; 1 when something
failed or ended.
"""

import sys

sys.dont_write_bytecode = True

import argparse  # noqa: E402
import asyncio  # noqa: E402
import json  # noqa: E402
import os  # noqa: E402
import pathlib  # noqa: E402
import signal  # noqa: E402
import subprocess  # noqa: E402

import facts  # noqa: E402
import kernel  # noqa: E402
import layout  # noqa: E402
import namespaces  # noqa: E402
import ports  # noqa: E402
import premises  # noqa: E402
import proot  # noqa: E402
import questions  # noqa: E402
import router  # noqa: E402
import state  # noqa: E402
from introduction import introduction  # noqa: E402
from keeper import STATUS_OF_SIGNAL, Keeper, Stopped  # noqa: E402

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1]))
from control import server  # noqa: E402

OUTAGE_SECONDS = 20  # where neither an option nor the home file tells

MODES = {"namespaces": [namespaces.Mode, proot.Mode], "proot": [proot.Mode]}


def parse(words):
    parser = argparse.ArgumentParser()
    for name in ("--project", "--build"):
        parser.add_argument(name, type=pathlib.Path, required=True)
    parser.add_argument("--state", required=True)
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--loopback-port", type=int)
    parser.add_argument("--control-port", type=int, default=0)
    parser.add_argument("--home", type=pathlib.Path)
    for name in ("--agents", "--phones"):
        parser.add_argument(name, type=int, default=name == "--phones")
    parser.add_argument("--outage", type=float)
    parser.add_argument("--build-lock", type=int)
    for name in ("--allow-origin", "--allow-host"):
        parser.add_argument(name, action="append", default=[])
    for name in ("--fresh", "--still", "--debug", "--no-journal", "--no-namespaces", "--resident", "--all-lines", "--all-addresses"):
        parser.add_argument(name, action="store_true")
    options = parser.parse_args(words)
    options.modes = MODES["proot" if options.no_namespaces else "namespaces"]
    return options


def take_from_home(options, about):
    """What the home file says of the router itself: `settings`, as "NAME VALUE" lines, and `outage`, which an option overrules."""
    home = {"store": {}, "outage": None}
    if options.home:
        command = ["/usr/bin/python3", "-B", options.project / "virtual_router/home/home.py", "facts", options.home]
        home = json.loads(subprocess.run([*command, about["PHONE_MAC"], about["PHONE_PLACE"]], stdout=subprocess.PIPE, check=True).stdout)
    options.settings = "".join(f"{name} {value}\n" for name, value in home["store"].items())
    options.outage = options.outage or home["outage"] or OUTAGE_SECONDS


def open_ports(options, keeper):
    """The ports come first: a busy one is reported before anything is made."""
    gates = {"say": keeper.say, "hosts": options.allow_host, "origins": options.allow_origin, "journal": keeper.journal, "faults": keeper.faults}
    outside = {**gates, "address": ports.ALL_ADDRESSES if options.all_addresses else ports.LOOPBACK}
    number = options.port
    found = [ports.Port("phone", number, keeper.phone_target(0), **outside)]
    for index in range(1, options.phones):
        number += 1
        found.append(ports.Port(f"phone {index + 1}", number, keeper.phone_target(index), **outside))
    for index in range(options.agents):
        number += 1
        found.append(ports.Port(f"agent {index + 1}", number, keeper.agent_target(index), router=f"agent{index + 1}", **outside))
    if options.loopback_port:
        found.append(ports.Port("router", options.loopback_port, keeper.loopback_target, **gates))
    return found


async def keep(options):
    loop = asyncio.get_running_loop()
    about = facts.Facts(options.project / "virtual_router/surroundings.sh")
    take_from_home(options, about)

    def layouts(kind):
        preload = () if kind.own_network else ("kernel_stand_in",)
        arguments = {"debug": options.debug, "home": bool(options.home), "own_network": kind.own_network, "resident": options.resident, "preload": preload}
        return layout.root(options.project, options.build, about, **arguments)

    place = state.State(options.state, options.fresh)
    keeper = Keeper(options, place, about, layouts)
    if place.left:
        keeper.say(f"The last router on {place.path} was killed, and its caretaker, too: what they left is cleared away ({', '.join(place.left)}).")
    keeper.items = (options.project / "platform/items.conf").read_text()

    def stop(number):
        keeper.end(STATUS_OF_SIGNAL[number])

    for number in STATUS_OF_SIGNAL:
        # Whoever starts it in the background has Ctrl-C ignored, which it heeds nevertheless; nohup asks for no hang-up.
        if number != signal.SIGHUP or signal.getsignal(number) != signal.SIG_IGN:
            loop.add_signal_handler(number, stop, number)
    asker = port = None
    try:
        keeper.ports = open_ports(options, keeper)
        port = server.Server(keeper, options.control_port, options.allow_host)
        port.start()
        asker = questions.Questions(keeper)
        starting = asyncio.ensure_future(keeper.start())
        await asyncio.wait([starting, keeper.stop], return_when=asyncio.FIRST_COMPLETED)
        if not starting.done():
            starting.cancel()
            raise Stopped(keeper.stop.result())
        starting.result()
        if options.build_lock is not None:
            os.close(options.build_lock)
        others = [(port.name, port.number, keeper.address_of(port)) for port in keeper.ports[1:] if port.name != "router"]
        keeper.say(introduction(await keeper.introduction(), options.port, options.loopback_port, port.printed_url(), others))
        return await keeper.stop
    except Stopped as stopped:
        return stopped.status
    except (router.Failed, ports.PortTaken, premises.Refused, OSError, asyncio.TimeoutError) as error:
        if keeper.stop.done():
            return keeper.stop.result()
        print(error if isinstance(error, ports.PortTaken) else f"script/server: {error or 'the home does not come up'}", file=sys.stderr)
        return 1
    finally:
        if port:
            await port.close()
        if asker:
            asker.close()
        await keeper.close()


def main():
    options = parse(sys.argv[1:])
    # What whoever started it had open is not for the router.
    kernel.close_others({options.build_lock})
    if options.build_lock is not None:
        os.set_inheritable(options.build_lock, False)
    os.umask(0o077)
    kernel.adopt_orphans()
    try:
        return asyncio.run(keep(options))
    except state.Refused as error:
        print(f"script/server: {error}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
