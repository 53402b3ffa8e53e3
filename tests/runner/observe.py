# SPDX-License-Identifier: MIT
"""What can be seen of the program while it runs: its console, standard output and standard error, its end."""

import contextlib
import ctypes
import os
import selectors
import signal
import socket
import struct
import time

from isolation import libc

IN_OPEN = 0x20
IN_CLOSE_WRITE = 0x8
EVENT_SIZE = 16  # of one without a name
SO_SNDBUFFORCE = 32


def make_room(stdout):
    """Lets a whole reply wait unread in the socket, so that a commit can be seen to come after it."""
    try:
        stdout.setsockopt(socket.SOL_SOCKET, SO_SNDBUFFORCE, 8 << 20)
    except OSError:
        stdout.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 8 << 20)


def messages(replies):
    """Each write to standard output as one text."""
    found = []
    while message := replies.recv(16 << 20):
        found.append(message)
    return found


class Console:
    """The console device: a pipe that is read all the time; every opening is counted."""

    def __init__(self, path, openings):
        self.text = bytearray()
        self.pipe = None
        self.openings = openings
        if path.is_fifo():
            self.pipe = os.open(path, os.O_RDWR | os.O_NONBLOCK)
            openings.begin(path)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.pipe is not None:
            os.close(self.pipe)
            self.openings.end()

    def read(self):
        with contextlib.suppress(BlockingIOError):
            while self.pipe is not None and (data := os.read(self.pipe, 65536)):
                self.text += data

    def opens(self):
        return self.openings.count() if self.pipe is not None else 0


class Openings:
    """How often a file is opened. One watch serves all cases, one after another: closing it takes the kernel milliseconds."""

    def __init__(self):
        self.watch = libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)

    def begin(self, path):
        self.events()  # the last file's end
        self.file = libc.inotify_add_watch(self.watch, bytes(path), IN_OPEN | IN_CLOSE_WRITE)  # with the closings: they
        if self.file < 0:                                                                      # keep two openings two events
            raise OSError(ctypes.get_errno(), "inotify")

    def events(self):
        """What was seen since the last call, as (file, mask)."""
        seen = []
        with contextlib.suppress(BlockingIOError):
            while True:
                data = os.read(self.watch, 65536)
                seen += [struct.unpack_from("=iI", data, at) for at in range(0, len(data), EVENT_SIZE)]
        return seen

    def count(self):
        return sum(file == self.file and mask & IN_OPEN != 0 for file, mask in self.events())

    def end(self):
        libc.inotify_rm_watch(self.watch, self.file)


def exchange(process, body, step, console, timeout):
    """Gives the body, reads the console and standard error until the program has ended. None: it did not end."""
    deadline = time.monotonic() + timeout
    keep_open = step.get("stdin", "close") == "open"
    size = max(1, -(-len(body) // step.get("pieces", 1)))
    pieces = [body[at:at + size] for at in range(0, len(body), size)]
    stderr = b""
    ended = os.pidfd_open(process.pid)
    with selectors.DefaultSelector() as selector:
        selector.register(ended, selectors.EVENT_READ, "ended")
        selector.register(process.stderr, selectors.EVENT_READ, "stderr")
        if console.pipe is not None:
            selector.register(console.pipe, selectors.EVENT_READ, "console")
        os.set_blocking(process.stdin.fileno(), False)
        selector.register(process.stdin, selectors.EVENT_WRITE, "stdin")
        open_ends = {"ended", "stderr"}
        while open_ends:
            events = selector.select(deadline - time.monotonic())
            if not events and time.monotonic() > deadline:
                process.send_signal(signal.SIGKILL)
                process.stdin.close()
                os.close(ended)
                return None
            for key, _ in events:
                if key.data == "console":
                    console.read()
                elif key.data == "ended":
                    selector.unregister(ended)
                    open_ends.discard("ended")
                elif key.data == "stderr":
                    data = os.read(process.stderr.fileno(), 65536)
                    stderr += data
                    if not data:
                        selector.unregister(process.stderr)
                        open_ends.discard("stderr")
                elif not give(process.stdin, pieces, step):
                    selector.unregister(process.stdin)
                    if not keep_open:
                        process.stdin.close()
    os.close(ended)
    with contextlib.suppress(OSError):
        process.stdin.close()
    process.stderr.close()
    return stderr


def give(stdin, pieces, step):
    """Writes the next of the body. False: there is no more, or nobody wants it."""
    if not pieces:
        return False
    try:
        written = os.write(stdin.fileno(), pieces[0])
    except BlockingIOError:
        return True
    except ConnectionError:
        return False
    pieces[0] = pieces[0][written:]
    if not pieces[0]:
        pieces.pop(0)
        if pieces and "pieces" in step:
            time.sleep(0.005)  # so that the next piece is a read of its own
    return bool(pieces)
