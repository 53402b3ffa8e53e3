# SPDX-License-Identifier: MIT
"""What a router's programs ask of the board that they run on, at the socket /dev/board. An order is a line; so is the answer.

  keep NAME          the file of the flash memory is to outlive the router; answered when it does
  lan ADDRESS MASK   the LAN has that network now; twice "none" where it has none
  replies            answered when those have their replies who wait for one now, or after some seconds
  reset              the router is to start anew; what is in its memory is gone
  cut                the same, without any warning: its power is gone

Whoever is in the router can say all of this.
"""

import asyncio
import ipaddress
import re
import socket

MOST_LINE_BYTES = 256
MOST_ORDERS = 64  # at a time
ORDER_SECONDS = 30
WORD = re.compile(rb"[!-~]+")


class Refused(Exception):
    pass


class Board:
    """Serves a router's board. `owner` has keep(name), lan(interface), replies(), reset() and cut()."""

    def __init__(self, fd, owner):
        self.listener = socket.socket(fileno=fd)
        self.listener.setblocking(False)
        self.owner = owner
        self.orders = set()
        self.loop = asyncio.get_running_loop()
        self.loop.add_reader(self.listener.fileno(), self.accept)

    def close(self):
        self.loop.remove_reader(self.listener.fileno())
        self.listener.close()
        for order in self.orders:
            order.cancel()

    def accept(self):
        try:
            connection, _ = self.listener.accept()
        except OSError:
            return
        if len(self.orders) >= MOST_ORDERS:
            connection.close()
            return
        order = self.loop.create_task(self.serve(connection))
        self.orders.add(order)
        order.add_done_callback(self.orders.discard)

    async def serve(self, connection):
        with connection:
            connection.setblocking(False)
            try:
                line = b""
                while not line.endswith(b"\n"):
                    more = await asyncio.wait_for(self.loop.sock_recv(connection, MOST_LINE_BYTES), ORDER_SECONDS)
                    line += more
                    if not more or len(line) > MOST_LINE_BYTES:
                        return
                try:
                    await self.obey([word.decode() for word in WORD.findall(line)])
                    answer = b"done\n"
                except Refused as error:
                    answer = f"refused: {error}\n".encode()
                await asyncio.wait_for(self.loop.sock_sendall(connection, answer), ORDER_SECONDS)
            except (OSError, asyncio.TimeoutError):
                pass

    async def obey(self, words):
        match words:
            case ["keep", name]:
                await self.owner.keep(name)
            case ["lan", "none", "none"]:
                await self.owner.lan(None)
            case ["lan", address, mask]:
                try:
                    interface = ipaddress.IPv4Interface(f"{ipaddress.IPv4Address(address)}/{ipaddress.IPv4Address(mask)}")
                except ValueError:
                    raise Refused("that is no network") from None
                await self.owner.lan(interface)
            case ["replies"]:
                await self.owner.replies()
            case ["reset"]:
                await self.owner.reset()
            case ["cut"]:
                await self.owner.cut()
            case _:
                raise Refused("the board knows no such order")
