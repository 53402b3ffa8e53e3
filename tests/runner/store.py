"""The configuration store of a case: what the double reads, and what it wrote carried over to the next request."""

import dataclasses

from caseformat import CaseError, expand
from vocabulary import parse_fault, words

CHANGES = SET, ADD, DELETE, _ = words("set", "add", "delete", "delete-all")


class Store:
    """The store of a case, carried over from request to request."""

    def __init__(self, world, items):
        self.items = items
        self.values = {}   # (item id, interface or None) -> bytes, None when reading fails
        self.tables = {}   # (count item id, interface or None) -> records, None for one that cannot be read
        for item in items.by_name.values():
            for interface in items.interfaces(item):
                if item.is_table:
                    self.tables[item.id, interface] = []
                self.values[item.id, interface] = items.encode(item, 0) if item.is_table else None
        for name, value in sorted(world.get("store", {}).items()):  # "ITEM" for all interfaces, then "ITEM@W.V"
            for item, interface in self.places(name):
                if item.is_table:
                    self.tables[item.id, interface] = [self.record(item, text) for text in value]
                else:
                    self.values[item.id, interface] = items.encode(item, value)
        for name in world.get("unset", []):
            for item, interface in self.places(name):
                self.values[item.id, interface] = None
        self.faults = [f"fail {self.by_number(fault)}" for fault in map(parse_fault, world.get("fail", []))
                       if not fault.of_the_kernel]

    def places(self, name):
        """What a case names: an item with each of its interfaces, or with the one behind "@"."""
        item, interface = self.items.find(name)
        return [(item, interface)] if interface else [(item, each) for each in self.items.interfaces(item)]

    @staticmethod
    def record(item, text):
        """The bytes of a record, zeros at its end left out; None for "-", a record that cannot be read."""
        data = None if text == "-" else bytes.fromhex(expand(text)).ljust(item.width, b"\0")
        if data is not None and len(data) != item.width:
            raise CaseError(f"{item.name}: a record of {len(data)} bytes")
        return data

    def by_number(self, fault):
        """The fault with its item as the double knows it."""
        if not fault.item:
            return fault
        item, interface = self.items.find(fault.item)
        return dataclasses.replace(fault, item=f"{item.id}" + (f"@{interface}" if interface else ""))

    def text(self):
        lines = list(self.faults)
        for (number, interface), value in self.values.items():
            where = f"{number}@{interface}" if interface else f"{number}"
            width = self.items.by_id[number].value_width
            lines.append(f"item {where} {width} {'-' if value is None else value.hex()}")
        for (number, interface), records in self.tables.items():
            where = f"{number}@{interface}" if interface else f"{number}"
            item = self.items.by_id[number]
            shown = ["-" if record is None else record.hex() for record in records]
            lines.append(" ".join([f"table {where} {item.width} {item.match}", *shown]))
        return "\n".join(lines) + "\n"

    def apply(self, log):
        """What the program wrote is what its next request reads."""
        for event in log:
            if event.word not in CHANGES or event.marks:
                continue
            number, _, interface = event.fields[0].partition("@")
            where = int(number), interface or None
            data = bytes.fromhex(event.fields[1])
            if event.word == SET:
                self.values[where] = data
            elif event.word == ADD:
                self.tables[where].append(data)
            elif event.word == DELETE:
                key = self.items.by_id[where[0]].match
                keys = [record and record[:key] for record in self.tables[where]]
                del self.tables[where][keys.index(data[:key])]
            else:
                self.tables[where].clear()
