# SPDX-License-Identifier: MIT
"""A request to app.scgi, as a web server makes it, in place of one that is started for the request."""

import contextlib
import fcntl
import os
import socket
import struct
import termios
import threading
import time

import heads
from caseformat import expand

SOCKET = "/.runner/scgi"
OPTIONS = [f"--socket={SOCKET}", "--waiting=1", "--most=1", "--requests=1"]
LATE = ["--open-late"]  # where the store refuses: else it is asked twice, while the process waits and for the request
SIGNALLED = 128
LONGEST_HEAD = 65535
HALF_FULL = 100_000  # bytes in a socket that keeps some 200,000
LOOK_EVERY = 0.05


def netstring(variables):
    block = b"".join(name.encode() + b"\0" + value.encode("utf-8", "surrogateescape") + b"\0" for name, value in variables.items())
    return b"%d:%b," % (len(block), block)


class Request:
    """The connection of one request: takes a body as standard input of a process does, and keeps the reply.

    The reply waits in the socket until the process has ended, so that a commit can be seen to come after it; one that is too
    long for the socket is read before."""

    def __init__(self, path, process, timeout):
        self.connection = socket.socket(socket.AF_UNIX)
        deadline = time.monotonic() + timeout
        while True:
            try:
                self.connection.connect(str(path))
                break
            except OSError:  # it does not listen yet
                if process.poll() is not None or time.monotonic() > deadline:
                    raise
                time.sleep(0.001)
        self.reply = b""
        self.ended = threading.Event()
        self.reader = threading.Thread(target=self.read_long)
        self.reader.start()

    def read_long(self):
        while not self.ended.wait(LOOK_EVERY):
            unread = struct.unpack("i", fcntl.ioctl(self.connection, termios.FIONREAD, b"\0" * 4))[0]
            if unread > HALF_FULL or self.reply:
                with contextlib.suppress(BlockingIOError, ConnectionResetError):
                    self.reply += self.connection.recv(1 << 20)

    def fileno(self):
        return self.connection.fileno()

    def send(self, variables):
        self.connection.sendall(netstring({**variables, "SCGI": "1"}))

    def close(self):
        with contextlib.suppress(OSError):
            self.connection.shutdown(socket.SHUT_WR)

    def replies(self):
        """What a program that is started would have written: the reply in a list, or none."""
        self.ended.set()
        self.reader.join()
        reply = self.reply
        os.set_blocking(self.connection.fileno(), True)
        with contextlib.suppress(ConnectionResetError):  # it left something of the body unread
            while data := self.connection.recv(1 << 20):
                reply += data
        self.connection.close()
        return heads.without_heads([reply]) if reply else []


def skip_reason(case):
    """Why a case cannot be tried this way; None: it can."""
    if any(step.get("args") for step in case["steps"]):
        return "app.scgi has options of its own"
    if any("socket" in fault.split() for fault in case["world"].get("fail", [])):
        return "app.scgi needs a socket before there is a request"
    if any(len(expand(step.get("content_length") or "")) > LONGEST_HEAD for step in case["steps"]):
        return "a head of that length is refused"
    return None


def exit_status(status):
    """app.scgi tells a signal that ended a request's process as a shell does."""
    return SIGNALLED - status if SIGNALLED < status < SIGNALLED + 65 else status
