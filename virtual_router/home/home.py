# SPDX-License-Identifier: MIT
"""A home around the virtual router. Called by script/server, script/router and the keeper:

home.py check FILE PHONE-MAC PHONE-PLACE            says what is wrong with a home file; prints nothing when nothing is
home.py facts FILE PHONE-MAC PHONE-PLACE            prints what the keeper must know of it: {"store": {NAME: VALUE}, "outage": SECONDS
                                                    or null} as JSON
home.py play FILE PHONE-MAC PHONE-PLACE MAC RUN yes|no   plays it beside the router in the folder RUN, whose LAN has that MAC
                                                    address; yes: it stands still until it is told to move. Its standard
                                                    input is a socket to the keeper
home.py ask RUN [WORD...]                           gives the home in that folder an order, and prints the answer
home.py help                                        prints the orders
home.py clock RUN [WORD...]                         shows or moves the clock of the router in that folder, home or not

Exit status: 0 done, 1 failed, 2 a wrong call.
"""

import json
import os
import pathlib
import socket
import sys

sys.dont_write_bytecode = True

ANSWER_SECONDS = 60


def load(file, phone_mac, phone_place):
    import homefile

    try:
        return homefile.load(file, phone_mac, int(phone_place))
    except homefile.HomeError as error:
        sys.exit(str(error))


def check(*place):
    load(*place)


def facts(*place):
    home = load(*place)
    print(json.dumps({key: home[key] for key in ("store", "outage")}))


def play(file, phone_mac, phone_place, mac, run, still):
    import engine

    player = engine.Engine(load(file, phone_mac, phone_place), pathlib.Path(run).absolute(), still != "yes")
    player.around.mac = mac
    player.serve(socket.socket(fileno=0))


def ask(run, *words):
    os.chdir(run)
    connection = socket.socket(socket.AF_UNIX)
    connection.settimeout(ANSWER_SECONDS)
    try:
        connection.connect("home.sock")
        connection.sendall(json.dumps(words).encode() + b"\n")
        with connection.makefile("rb") as lines:
            status, text = json.loads(lines.readline())
    except FileNotFoundError:
        sys.exit("this router has no home; script/server --home gives it one")
    except (OSError, ValueError) as error:
        sys.exit(f"the home does not answer: {error}")
    print(text, file=sys.stderr if status else sys.stdout)
    sys.exit(status)


def help():
    import verbs

    print(verbs.help_text())


def clock(run, *words):
    import clock as clocks

    status, text = clocks.act(clocks.of_router(pathlib.Path(run)), [*words])
    print(text, file=sys.stderr if status else sys.stdout)
    sys.exit(status)


if __name__ == "__main__":
    commands = {function.__name__: function for function in (check, facts, play, ask, help, clock)}
    if len(sys.argv) < 2 or sys.argv[1] not in commands:
        print(__doc__.rstrip(), file=sys.stderr)
        sys.exit(2)
    commands[sys.argv[1]](*sys.argv[2:])
