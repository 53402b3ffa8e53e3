"""The configuration store of a case: what the double reads, and what it wrote carried over to the next request."""

from caseformat import CaseError, expand


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
        self.failures = [f"fail {self.failure(text)}" for text in world.get("fail", [])]

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

    # What a case can let fail: the double's word for the call, and for calls on an item what to add to its number.
    FAILURES = {"init": ("init", None), "update": ("update", None), "save": ("save", None), "get": ("get", 0),
                "set": ("set", 0), "entry": ("get", 0x8001), "add": ("set", 0x10002), "delete": ("set", 0x20003),
                "delete all": ("set", 0x40004)}

    def failure(self, text):
        call_name, name = (text, "") if text in self.FAILURES else text.rpartition(" ")[::2]
        if call_name not in self.FAILURES or (self.FAILURES[call_name][1] is None) == bool(name):
            raise CaseError(f"what fails? {text}")
        word, offset = self.FAILURES[call_name]
        if not name:
            return word
        item, interface = self.items.find(name)
        return f"{word} {item.id + offset}" + (f"@{interface}" if interface else "")

    def text(self):
        lines = list(self.failures)
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
        for line in log:
            words = line.split()
            if words[0] != "set" or words[2] != "ok":
                continue
            number, _, interface = words[1].partition("@")
            data = bytes.fromhex(words[3]) if len(words) > 3 else b""
            if int(number) in self.items.by_id:
                self.values[int(number), interface or None] = data
                continue
            prefix, item = self.items.table_call(int(number))
            records = self.tables[item.id, interface or None]
            if prefix == "add ":
                records.append(data)
            elif prefix == "delete ":
                keys = [record and record[:item.match] for record in records]
                del records[keys.index(data[:item.match])]
            else:
                records.clear()
