# SPDX-License-Identifier: MIT
"""script/router's way to the keeper: client.py STATE VERB [WORD...]. VERB is run, sh, home, clock, phone, journal or status.

A router's program never has this terminal: what it reads and prints is carried to and fro, and, but for a shell, made fit for a
terminal. Exit status: that of the program.
"""

import json
import os
import pty
import select
import signal
import socket
import sys
import termios
import tty

sys.dont_write_bytecode = True

import messages  # noqa: E402
import words as spoken  # noqa: E402
from printable import printable  # noqa: E402

CHUNK = 65536


def fail(text):
    print(f"script/router: {text}", file=sys.stderr)
    sys.exit(1)


def connect(folder):
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    try:
        address, fd = messages.socket_address(folder)
        connection.connect(address)
        os.close(fd)
    except PermissionError:
        fail(f"the router on the state folder {folder} is another user's")
    except ConnectionRefusedError:
        fail(f"the router on the state folder {folder} was killed; script/server starts it, and clears away what is left")
    except OSError:
        fail(f"no router runs on the state folder {folder}; script/server starts one")
    return connection


def write_all(fd, data):
    while data:
        data = data[os.write(fd, data) :]


class Output:
    """Carries what a program prints to a descriptor of ours."""

    def __init__(self, fd):
        self.fd = fd
        self.terminal = os.isatty(fd)
        self.rest = b""

    def put(self, data):
        if not self.terminal:
            write_all(self.fd, data)
            return
        *lines, self.rest = (self.rest + data).split(b"\n")
        if not data and self.rest:
            write_all(self.fd, printable(self.rest).encode())
        for line in lines:
            write_all(self.fd, "\t".join(printable(part) for part in line.split(b"\t")).encode() + b"\n")


def carry(connection, sources, answer_of):
    """Carries until the program has ended and what it printed has come. `sources`: descriptor -> function that takes what comes from
    there, or nothing at its end. Returns the answer."""
    answer = None
    poll = select.poll()
    for fd in (*sources, connection.fileno()):
        poll.register(fd, select.POLLIN)
    while True:
        ready = poll.poll(None if answer is None else 100)
        if answer is not None and not ready:
            return answer
        for fd, _ in ready:
            if fd == connection.fileno():
                answer, _ = messages.receive(connection)
                if answer is None:
                    fail("the router has stopped")
                poll.unregister(fd)
                continue
            try:
                data = os.read(fd, CHUNK)
            except OSError:  # the other side of a terminal has closed
                data = b""
            try:
                sources[fd](data)
            except BrokenPipeError:
                data = b""
            if not data:
                poll.unregister(fd)
                del sources[fd]
        if answer is not None and not set(sources) - {answer_of}:
            return answer


def run(connection, question):
    """Has a program run whose descriptors are pipes."""
    read_in, write_in = os.pipe()
    read_out, write_out = os.pipe()
    read_error, write_error = os.pipe()
    messages.send(connection, question, [read_in, write_out, write_error])
    for fd in (read_in, write_out, write_error):
        os.close(fd)
    open_input = [write_in]

    def put_in(data):
        if data:
            write_all(write_in, data)
        elif open_input:
            os.close(open_input.pop())

    sources = {read_out: Output(1).put, read_error: Output(2).put}
    try:
        os.fstat(0)
        sources[0] = put_in
    except OSError:
        put_in(b"")
    return carry(connection, sources, 0)


def run_in_terminal(connection, question):
    """Has a program run in a terminal of its own, which is shown in this one."""
    ours, theirs = pty.openpty()
    termios.tcsetwinsize(theirs, termios.tcgetwinsize(0))
    messages.send(connection, question, [theirs] * 3)
    os.close(theirs)
    before = termios.tcgetattr(0)
    signal.signal(signal.SIGWINCH, lambda *_: termios.tcsetwinsize(ours, termios.tcgetwinsize(0)))
    tty.setraw(0)
    try:
        return carry(connection, {0: lambda data: write_all(ours, data), ours: lambda data: write_all(1, data)}, 0)
    finally:
        termios.tcsetattr(0, termios.TCSADRAIN, before)


def listen(connection):
    """Yields what the keeper answers, one after another; its last word is returned."""
    text = ""
    while True:
        answer, _ = messages.receive(connection)
        if answer is None:
            fail("the router has stopped")
        if "part" not in answer:
            return answer
        text += answer["part"]
        if answer["last"]:
            yield json.loads(text)
            text = ""


def ask_and_print(folder, verb, words):
    """For what is asked in words of its own, and answered with what words.py makes text of."""
    try:
        question, show = spoken.ASKED[verb](words)
    except spoken.WrongWords as error:
        print(f"script/router: {error} (see script/router {verb} help)", file=sys.stderr)
        return 2
    if question is None:
        print(show)
        return 0
    connection = connect(folder)
    messages.send(connection, {"verb": verb, **question})
    answers = listen(connection)
    try:
        while True:
            for line in show(next(answers)):
                print(line, flush=True)
    except StopIteration as last:
        answer = last.value
    if "refused" in answer:
        fail(answer["refused"])
    return answer["status"]


def main(folder, verb, *words):
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    if verb in spoken.ASKED:
        return ask_and_print(folder, verb, words)
    question = {"verb": verb, "words": words}
    if verb == "sh":
        question = {"verb": "run", "words": ["sh"]}
    elif verb == "phone":
        number = words[0] if len(words) > 1 and words[0].isdigit() else "1"
        question |= {"number": number, "words": words[words[0].isdigit() and len(words) > 1 :]}
    connection = connect(folder)
    if verb == "status":
        messages.send(connection, question)
        answer, _ = messages.receive(connection)
        print(json.dumps((answer or {}).get("is"), indent=2), flush=True)
    elif verb == "sh" and os.isatty(0) and os.isatty(1):
        question["terminal"] = os.environ.get("TERM", "dumb")
        answer = run_in_terminal(connection, question)
    else:
        answer = run(connection, question)
    if "refused" in answer:
        fail(answer["refused"])
    return answer["status"]


if __name__ == "__main__":
    try:
        sys.exit(main(*sys.argv[1:]))
    except KeyboardInterrupt:
        sys.exit(130)
    except BrokenPipeError:
        os._exit(1)  # whoever reads has seen enough
