# SPDX-License-Identifier: MIT
"""The configuration store of a case: what the double reads, and what it wrote carried over to the next request."""

import dataclasses

from caseformat import CaseError, expand
from vocabulary import parse_fault, words

CHANGES = SET, ADD, DELETE, _ = words("set", "add", "delete", "delete-all")


class Layout:
    """What all cases' stores have in common: made once, since there are many items, of which a case uses few."""

    def __init__(self, items):
        self.items = items
        self.values = {}       # (item id, interface or None) -> the first value
        self.tables = []       # (count item id, interface or None)
        self.value_lines = {}  # (item id, interface or None) -> how its line in the double's file begins
        self.table_lines = {}  # the same of a table
        for item in items.by_name.values():
            for interface in items.interfaces(item):
                place = item.id, interface
                self.values[place] = items.encode(item, 0) if item.is_table else None
                self.tables += [place] if item.is_table else []
                self.add_lines(item, interface)

    def add_lines(self, item, interface):
        where = f"{item.id}@{interface}" if interface else f"{item.id}"
        self.value_lines[item.id, interface] = f"item {where} {item.value_width} "
        if item.is_table:
            self.table_lines[item.id, interface] = f"table {where} {item.width} {item.match} "


class Store:
    """The store of a case, carried over from request to request."""

    def __init__(self, world, layout):
        self.layout = layout
        self.items = items = layout.items
        self.values = dict(layout.values)                    # None: reading fails
        self.tables = {place: [] for place in layout.tables}  # None in a table: a record that cannot be read
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
        if interface and (item.id, interface) not in self.layout.value_lines:  # a value of its own, though others share one
            self.layout.add_lines(item, interface)
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
        for place, value in self.values.items():
            lines.append(self.layout.value_lines[place] + ("-" if value is None else value.hex()))
        for place, records in self.tables.items():
            lines.append(self.layout.table_lines[place] + " ".join("-" if record is None else record.hex() for record in records))
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
