# SPDX-License-Identifier: MIT
"""What a request takes in the machine, and what memory the system uses."""

import re

ROUNDS = 20
NANOSECONDS = 4  # for each instruction, by which the machine's clock goes: as a processor of 400 MHz that needs 1.6 cycles for one
SESSION = "abc"
BODIES = {
    "get app": '{"action":"get","sessionid":"abc","app":{}}',
    "set app": '{"action":"set","sessionid":"abc","app":{"port":80,"ticktime":5}}',
    "get wifi": '{"action":"get","sessionid":"abc","wifi":{}}',
}
LUA = ("get app", "set app")  # which the Lua peer knows
WAYS = [  # what is told of it, words of the stopwatch, whether it is Lua
    ("a process that only ends", "nothing", "", False),
    ("`app.cgi`", "start", "/web/app/app.cgi", False),
    ("`app.cgi`, static", "start", "/bin/app-static.cgi", False),
    ("`app-relay.cgi` and `app.scgi`", "start", "/bin/app-relay.cgi", False),
    ("`app.scgi` by SCGI", "scgi", "/var/run/app.scgi", False),
    ("Lua, no store", "start", "/bin/app.lua --no-store", True),
    ("Lua", "start", "/bin/app.lua", True),
    ("BusyBox httpd, `app.cgi`", "http", "80", False),
    ("BusyBox httpd, `app.cgi`, static", "http", "85", False),
    ("BusyBox httpd, `app-relay.cgi` and `app.scgi`", "http", "81", False),
    ("BusyBox httpd, Lua", "http", "82", True),
]


def tell_times(machine):
    print(f"booted in {machine.guest_seconds} s there, at {NANOSECONDS} ns for each instruction; medians of {ROUNDS} requests\n")
    for name, body in BODIES.items():
        machine.run(f"echo '{body}' >'/tmp/{name}'")
    machine.run(f"printf sessionid={SESSION} >/var/app_sessionid")
    machine.run("flash set MIB_APP_PORT 80")
    print(f"| way | {' | '.join(f'{name}, instructions | ms' for name in BODIES)} | KiB at most |\n|---|{'---|' * (2 * len(BODIES) + 1)}")
    for told, kind, what, is_lua in WAYS:
        row, memory = [], ""
        for name in BODIES:
            if is_lua and name not in LUA:
                row += ["", ""]
                continue
            words = [line for line in machine.run(f"stopwatch {kind} {ROUNDS} '/tmp/{name}' {what}") if re.fullmatch(r"[\d ]+", line)]
            median, *_, resident = map(int, words[0].split())
            row += [f"{median // NANOSECONDS:,}", f"{median / 1e6:.2f}"]
            memory = str(resident) if kind == "start" else ""
        print(f"| {told} | {' | '.join(row)} | {memory} |", flush=True)


def tell_memory(machine, size):
    print(f"{size} MiB, booted in {machine.seconds:.1f} s here, {machine.guest_seconds} s there:")

    def kib(name, lines):
        return next(int(line.split()[1]) for line in lines if line.startswith(name + ":"))

    lines = machine.run("cat /proc/meminfo")
    total, available, image = (kib(name, lines) for name in ("MemTotal", "MemAvailable", "Shmem"))
    print(f"{total} KiB are left by the kernel's image; {total - available} KiB of them in use, {image} KiB of these the files; {available} KiB available")
    for program in ("app.scgi", "httpd", "system_daemon"):
        for line in machine.run(f"for id in $(pidof {program}); do echo PRIVATE $(awk '/^Private/ {{ sum += $2 }} END {{ print sum }}' /proc/$id/smaps); done"):
            if found := re.fullmatch(r"PRIVATE (\d+)", line):
                print(f"  {program}: {found[1]} KiB of its own")
