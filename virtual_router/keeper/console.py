# SPDX-License-Identifier: MIT
"""What is printed on the developer's terminal. Whatever comes out of a router is made fit for it first."""

import asyncio
import contextlib
import os
import queue
import threading
import time

from printable import printable

MOST_LINE_BYTES = 4096
MOST_WAITING = 20000  # lines that the terminal has not taken yet
END_SECONDS = 2
SETTLE_SECONDS = 0.05


class Printer:
    """Prints lines, without making anybody wait: a terminal that takes none for long loses some."""

    def __init__(self):
        self.lines = queue.Queue(MOST_WAITING)
        self.lost = 0
        self.thread = threading.Thread(target=self.work, daemon=True)
        self.thread.start()

    def say(self, line):
        try:
            self.lines.put_nowait(line)
        except queue.Full:
            self.lost += 1

    def work(self):
        while (line := self.lines.get()) is not None:
            data = (line + "\n").encode("utf-8", "replace")
            if self.lost:
                data += f"keeper: {self.lost} lines were not printed: this terminal takes them too slowly\n".encode()
                self.lost = 0
            try:
                while data:
                    data = data[os.write(1, data) :]
            except OSError:
                return  # the terminal has gone

    def close(self):
        """Waits a moment for what has not been printed."""
        deadline = time.monotonic() + END_SECONDS
        with contextlib.suppress(queue.Full):
            self.lines.put(None, timeout=END_SECONDS)
        self.thread.join(max(0, deadline - time.monotonic()))


class PipeReader:
    """Reads a descriptor to its end. take(data) gets what comes, and nothing at the end."""

    def __init__(self, fd):
        self.fd = fd
        os.set_blocking(fd, False)
        self.loop = asyncio.get_running_loop()
        self.ended = self.loop.create_future()
        self.loop.add_reader(fd, self.read)

    def read(self):
        try:
            data = os.read(self.fd, 65536)
        except BlockingIOError:
            return
        except OSError:
            data = b""
        self.take(data)
        if not data:
            self.close()

    async def settle(self):
        """Waits a moment for the end, after that of the program: what it left running may hold the pipe, and what it said itself is there."""
        with contextlib.suppress(asyncio.TimeoutError):
            await asyncio.wait_for(asyncio.shield(self.ended), SETTLE_SECONDS)

    def close(self):
        if not self.ended.done():
            self.loop.remove_reader(self.fd)
            os.close(self.fd)
            self.ended.set_result(None)


class Collector(PipeReader):
    """Keeps the first bytes in `data`, and drops what comes behind them."""

    def __init__(self, fd, most):
        super().__init__(fd)
        self.data = bytearray()
        self.most = most

    def take(self, data):
        self.data += data[: self.most - len(self.data)]


class LineReader(PipeReader):
    """Says each line under a name. Empty lines are left out: the router's programs end many of theirs with two line feeds."""

    def __init__(self, fd, say, name=None):
        super().__init__(fd)
        self.say = say
        self.prefix = f"{name}: " if name else ""
        self.rest = b""

    def take(self, data):
        *lines, self.rest = (self.rest + data).split(b"\n")
        if not data or len(self.rest) > MOST_LINE_BYTES:
            lines.append(self.rest)
            self.rest = b""
        for line in lines:
            for start in range(0, len(line), MOST_LINE_BYTES):
                self.say(self.prefix + printable(line[start : start + MOST_LINE_BYTES]))
