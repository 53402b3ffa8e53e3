"""The system daemon's end of the message queue, and its records as a case lists them."""

import ctypes
import os
import re

from caseformat import expand, to_bytes
from isolation import libc

IPC_RMID, IPC_STAT, IPC_NOWAIT = 0, 2, 0o4000
QUEUE_FIELDS = {  # of the record, counted from its 32-bit type: offset, width, text or number
    "url": (4, 128, str), "md5": (132, 33, str), "enable": (229, 1, int), "hour": (230, 1, int),
    "minute": (231, 1, int), "second": (232, 1, int), "week": (233, 1, int), "sysconf": (236, 128, str),
    "interval": (236, 4, int), "count": (240, 4, int), "guid": (244, 40, str),
}
RECORD_SIZE = 364
FILLER = 0x7fff  # the type of a record that only takes up room in the queue
BUSY_FOR = 0.3   # seconds from a request's start in which the daemon reads nothing of a full queue


class Queue:
    """The system daemon's end of the message queue."""

    def __init__(self, null):
        status = os.stat(null)
        self.key = ctypes.c_int(117 << 24 | (status.st_dev & 0xFF) << 16 | status.st_ino & 0xFFFF)

    def find(self):
        return libc.msgget(self.key, 0)

    def create(self):
        return libc.msgget(self.key, 0o1666)

    def fill(self):
        """Makes the queue, and leaves no room in it."""
        queue = self.create()
        record = FILLER.to_bytes(8, "little") + bytes(RECORD_SIZE - 4)
        while libc.msgsnd(queue, record, RECORD_SIZE - 4, IPC_NOWAIT) == 0:
            pass

    def relieve(self):
        """Takes out what fill() put in."""
        record = ctypes.create_string_buffer(8 + RECORD_SIZE)
        while libc.msgrcv(self.find(), record, RECORD_SIZE, FILLER, IPC_NOWAIT) >= 0:
            pass

    def drain(self):
        """All records as (type, payload bytes), and the queue's mode; the queue is gone afterwards."""
        queue = self.find()
        if queue < 0:
            return [], None
        status = ctypes.create_string_buffer(512)
        libc.msgctl(queue, IPC_STAT, status)
        mode = int.from_bytes(status.raw[20:24], "little") & 0o777  # struct ipc_perm: key, 4 ids, mode
        records = []
        record = ctypes.create_string_buffer(8 + 8192)
        while (size := libc.msgrcv(queue, record, 8192, 0, IPC_NOWAIT)) >= 0:
            records.append((int.from_bytes(record.raw[:8], "little"), record.raw[8:8 + size]))
        libc.msgctl(queue, IPC_RMID, None)
        return records, mode


def show_record(kind, payload):
    """A record as a case lists it: the type, and each run of non-zero bytes with its offset in the record."""
    shown = f"{kind}"
    if len(payload) != RECORD_SIZE - 4:
        shown += f" ({len(payload)} bytes of payload)"
    for match in re.finditer(rb"[^\0]+", payload):
        shown += f" {match.start() + 4}:{match[0]!r}"
    return shown


def expected_record(fields, byteorder):
    payload = bytearray(RECORD_SIZE - 4)
    for name, value in fields.items():
        if name == "type":
            continue
        offset, width, kind = QUEUE_FIELDS[name]
        data = to_bytes(expand(value)) if kind is str else value.to_bytes(width, byteorder)
        payload[offset - 4:offset - 4 + len(data)] = data
    return show_record(fields["type"], bytes(payload))
