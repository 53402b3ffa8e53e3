# SPDX-License-Identifier: MIT
"""The words of the project that the keeper shares with others: what a request did and what can fail (vocabulary), the store's items
and the queue's records (seam)."""

import errno
import pathlib
import re
import sys

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path[1:1] = [str(_PROJECT / "virtual_router/vocabulary"), str(_PROJECT / "platform")]

import seam  # noqa: E402
import vocabulary  # noqa: E402

ITEMS = {item.id: item for item in seam.read_items()}
ITEMS_BY_NAME = {item.name: item for item in ITEMS.values()}
RECORDS, NUMBERS = seam.read_records()
_RECORD = RECORDS["SysMsgRecord"]
_STATION = RECORDS["StaInfoEntry"]
TABLE_BYTES = NUMBERS["kStationSlots"] * _STATION.size
_TYPES = {value: name for name, value in NUMBERS.items() if name.startswith("MSG_")}
_PAYLOAD = NUMBERS["kSysMsgPayload"]
_BEFORE_PAYLOAD = _RECORD.size - _PAYLOAD
# What each type of record uses; the names are those of the system daemon's printout.
_FIELDS = {
    "MSG_APP_FWUPG": {"url": "firmware_url", "md5": "firmware_md5"},
    "MSG_APP_SCHREBOOT": {"enable": "schedule_enable", "hour": "schedule_hour", "minute": "schedule_minute", "second": "schedule_second", "weekdays": "schedule_week"},
    "MSG_APP_REPORTOSERVER_WANSTA": {"interval": "report.interval", "count": "report.count", "guid": "report.guid"},
    "MSG_CALL_SYSCONF": {"sysconfArgv": "sysconfArgv"},
}

_SURROGATE = re.compile("[\ud800-\udfff]")


def item_of(field):
    """The item of an event's ITEM, by number or by name; None: nobody knows it."""
    number = field.partition("@")[0]
    return ITEMS.get(int(number)) if number.isdigit() else ITEMS_BY_NAME.get(number)


def by_name(event):
    """An event of somebody who knows no names, with names. Raises ValueError where that cannot be."""
    shape = vocabulary.EVENTS[event.word]
    if event.word == "fault":
        return vocabulary.Event(event.word, [fault_by_name(event.fields[0])], event.marks)
    if event.word == "queue":
        return vocabulary.Event(event.word, record_by_name(*event.fields), event.marks)
    if not shape or shape[0] != "ITEM":
        return event
    item = item_of(event.fields[0])
    if item is None:
        return event
    fields = [item.name + event.fields[0][len(str(item.id)) :], *event.fields[1:]]
    marks = dict(event.marks)
    if "VALUE" in shape[-1] and len(fields) > 1:
        fields[1] = item.show(bytes.fromhex(fields[1]))
        if "was" in marks:
            marks["was"] = item.show(bytes.fromhex(marks["was"] or "")).replace(" ", "\\x20")
    return vocabulary.Event(event.word, fields, marks)


def fault_by_name(line):
    marks, rest = vocabulary.take_marks(line, vocabulary.FAULT_MARKS)
    call, _, item = rest.partition(" ")
    on, fails, _ = vocabulary.CALLS.get(call, ("-", "", ""))
    if fails == "ERRNO" and (marks.get("failed") or "").isdigit():
        marks["failed"] = errno.errorcode.get(int(marks["failed"]), marks["failed"])
    known = item_of(item) if on == "ITEM" and item else None
    return str(vocabulary.Fault(call, known.name + item[len(str(known.id)) :] if known else item, marks))


def record_by_name(number, fields=""):
    name, equals, payload = fields.partition("=")
    if name != "payload":
        return [number, *([fields] if fields else [])]
    data = bytes.fromhex(payload)
    kind = _TYPES.get(int(number), number)
    texts = [f"{shown}={_field(_RECORD.fields[place], data, shown)}" for shown, place in _FIELDS.get(kind, {}).items()]
    return [kind, *([" ".join(texts)] if texts else [])]


def _field(field, data, name):
    value = data[field.offset - _BEFORE_PAYLOAD : field.end - _BEFORE_PAYLOAD]
    if field.kind == "text":
        text = vocabulary.escape(value.split(b"\0")[0].decode("utf-8", "backslashreplace"))
        return '"' + text.replace('"', '\\"') + '"'
    if name == "weekdays":
        return f"{value[0] & 127:07b}" if value else "?"
    return str(int.from_bytes(value, sys.byteorder, signed=field.kind == "int32"))


def station_row(data):
    """A station of the Wi-Fi driver's table as a case has it: AID MAC FLAGS TX SIGNAL MODE RATE RX."""

    def number(name):
        field = _STATION.fields[name]
        return str(int.from_bytes(data[field.offset : field.end], "little"))

    mac = _STATION.fields["mac"]
    texts = [number("association_id"), data[mac.offset : mac.end].hex(":")]
    return " ".join([*texts, *map(number, ("state", "tx_rate", "rssi", "wireless_mode", "rate_flags", "rx_rate"))])


def clean(text):
    """A text that is UTF-8 wherever it goes: a byte that was none is \\xNN, half a character \\uNNNN."""
    return _SURROGATE.sub(lambda match: f"\\x{ord(match[0]) - 0xDC00:02x}" if "\udc80" <= match[0] <= "\udcff" else f"\\u{ord(match[0]):04x}", text)


def is_word(text):
    return bool(re.fullmatch(r"[!-~]+", text))
