# SPDX-License-Identifier: MIT
"""The system daemon's end of the message queue, and its records as a case lists them."""

import ctypes
import os
import re

import seam
from caseformat import expand, to_bytes
from isolation import libc

IPC_RMID, IPC_STAT, IPC_NOWAIT = 0, 2, 0o4000
RECORDS, NUMBERS = seam.read_records()
RECORD = RECORDS["SysMsgRecord"]
FIELDS = {  # of a record as a case lists it
    "type": "msg_type", "url": "firmware_url", "md5": "firmware_md5", "enable": "schedule_enable", "hour": "schedule_hour",
    "minute": "schedule_minute", "second": "schedule_second", "week": "schedule_week", "sysconf": "sysconfArgv",
    "interval": "report.interval", "count": "report.count", "guid": "report.guid",
}
PAYLOAD_SIZE = NUMBERS["kSysMsgPayload"]  # the record without its type, which the queue carries apart
TYPE_SIZE = RECORD.size - PAYLOAD_SIZE
FILLER = 0x7fff  # the type of a record that only takes up room in the queue
BUSY_FOR = 0.3   # seconds from a request's start in which the daemon reads nothing of a full queue


class Queue:
    """The system daemon's end of the message queue."""

    def __init__(self, null):
        status = os.stat(null)
        self.key = ctypes.c_int(NUMBERS["kSystemQueueProject"] << 24 | (status.st_dev & 0xFF) << 16 | status.st_ino & 0xFFFF)

    def find(self):
        return libc.msgget(self.key, 0)

    def create(self):
        return libc.msgget(self.key, 0o1666)

    def fill(self):
        """Makes the queue, and leaves no room in it."""
        queue = self.create()
        record = FILLER.to_bytes(8, "little") + bytes(PAYLOAD_SIZE)
        while libc.msgsnd(queue, record, PAYLOAD_SIZE, IPC_NOWAIT) == 0:
            pass

    def relieve(self):
        """Takes out what fill() put in."""
        record = ctypes.create_string_buffer(8 + PAYLOAD_SIZE)
        while libc.msgrcv(self.find(), record, PAYLOAD_SIZE, FILLER, IPC_NOWAIT) >= 0:
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
    if len(payload) != PAYLOAD_SIZE:
        shown += f" ({len(payload)} bytes of payload)"
    for match in re.finditer(rb"[^\0]+", payload):
        shown += f" {match.start() + TYPE_SIZE}:{match[0]!r}"
    return shown


def expected_record(fields, byteorder):
    values = {FIELDS[name]: to_bytes(expand(value)) if isinstance(value, str) else value for name, value in fields.items()}
    return show_record(fields["type"], RECORD.pack(values, byteorder)[TYPE_SIZE:])
