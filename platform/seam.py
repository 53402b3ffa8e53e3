# SPDX-License-Identifier: MIT
"""What platform/ says in data files, for programs in Python: the items of the configuration store (items.conf), the
records and numbers that the endpoint shares with other programs (records.conf). Their heads describe them."""

import dataclasses
import json
import pathlib
import re
import sys

FOLDER = pathlib.Path(__file__).resolve().parent
ITEMS = FOLDER / "items.conf"
RECORDS = FOLDER / "records.conf"

WIDTHS = {"byte": 1, "sbyte": 1, "int32": 4, "ipv4": 4}
TEXT = re.compile(r"text\[(\d+)\]")
TABLE = re.compile(r"table\[(\d+)x(\d+)/(\d+)\]")
ITEM_LINE = re.compile(r'(\d+)\s+(\w+)\s+(\S+)\s+(global|interface)\s+("[^"]*"|[^\s"]+)(?:\s+(\S.*))?')
INTERFACE_LINE = re.compile(r'\s+([\w-]+)\s+("[^"]*"|[^\s"]+)')
OTHERS = "[others]"


@dataclasses.dataclass
class Item:
    """A line of items.conf, whose head says what the words mean."""

    id: int
    name: str
    kind: str  # without brackets: byte, sbyte, int32, ipv4, text or table
    width: int  # bytes of the value; of an entry of a table
    limit: int  # of a table: the most entries
    match: int  # of a table: how many bytes of an entry a delete compares
    per_interface: bool
    default: str  # as it stands in the file, with the quotes of a text
    meaning: str
    defaults: dict  # interface -> a default of its own

    @property
    def is_table(self):
        return self.kind == "table"

    # What is read and written under the item's own id: of a table its count.
    @property
    def value_kind(self):
        return "int32" if self.is_table else self.kind

    @property
    def value_width(self):
        return WIDTHS["int32"] if self.is_table else self.width

    @property
    def of_others(self):
        """The endpoint does not use it."""
        return self.meaning.startswith(OTHERS)

    def show(self, data, byteorder=sys.byteorder):
        """The bytes that are stored under the item's own id, as its kind is written."""
        if self.value_kind == "ipv4":
            return ".".join(str(byte) for byte in data)
        if self.value_kind == "text":
            text, _, rest = data.partition(b"\0")
            shown = json.dumps(text.decode("utf-8", "surrogateescape"), ensure_ascii=False)
            return shown + (f" then {rest.hex()}" if rest.strip(b"\0") else "")
        return str(int.from_bytes(data, byteorder, signed=self.value_kind != "byte"))


def parse_kind(text):
    """(kind, width, limit, match) of a kind as it stands in the file."""
    if text in WIDTHS:
        return text, WIDTHS[text], 0, 0
    if found := TEXT.fullmatch(text):
        return "text", int(found[1]), 0, 0
    if found := TABLE.fullmatch(text):
        return "table", *map(int, found.groups())
    raise ValueError(f"'{text}' is no kind")


def data_lines(path):
    """Yields the lines of a data file that say something, as (number, line)."""
    for number, line in enumerate(pathlib.Path(path).read_text().splitlines(), 1):
        if line.strip() and not line.lstrip().startswith("#"):
            yield number, line.rstrip()


def read_items(path=ITEMS):
    """The items of a file in the form of items.conf, in its order. Raises ValueError with the line at fault."""
    items = []
    for number, line in data_lines(path):
        try:
            if found := ITEM_LINE.fullmatch(line):
                id_text, name, kind, scope, default, meaning = found.groups()
                items.append(Item(int(id_text), name, *parse_kind(kind), scope == "interface", default, meaning or "", {}))
            elif (found := INTERFACE_LINE.fullmatch(line)) and items and items[-1].per_interface:
                items[-1].defaults[found[1]] = found[2]
            else:
                raise ValueError("neither an item nor the default of an interface")
        except ValueError as fault:
            raise ValueError(f"{path}:{number}: {fault}") from fault
    for key in ("id", "name"):
        values = [getattr(item, key) for item in items]
        if twice := sorted({value for value in values if values.count(value) > 1}):
            raise ValueError(f"{path}: there twice: {twice[0]}")
    return items


FIELD_LINE = re.compile(r"(\w+)\.([\w.]+)\s+(\d+)\s+(\w+?)(?:\[(\d+)\])?")
NUMBER_LINE = re.compile(r"(\w+)\s+(?:0x([0-9A-Fa-f]+)|0([0-7]+)|(\d+))")
FIELD_WIDTHS = {"byte": 1, "text": 1, "uint16": 2, "int32": 4, "uint32": 4, "ipv4": 4, "mac": 6}  # of one
FIELD_NUMBERS = ("byte", "uint16", "int32", "uint32")


@dataclasses.dataclass
class Field:
    offset: int
    kind: str  # without brackets
    width: int  # bytes
    several: bool  # the kind has brackets

    @property
    def end(self):
        return self.offset + self.width

    def encode(self, value, byteorder):
        """The field's bytes: of a number, or of bytes, which are filled up with zeros."""
        if self.kind in FIELD_NUMBERS and not self.several:
            return value.to_bytes(self.width, byteorder, signed=value < 0)
        if len(value) > self.width:
            raise ValueError(f"{len(value)} bytes for a field of {self.width}")
        return value.ljust(self.width, b"\0")


@dataclasses.dataclass
class Record:
    name: str
    fields: dict  # name -> Field

    @property
    def size(self):
        return max(field.end for field in self.fields.values())

    def pack(self, values, byteorder=sys.byteorder, filler=b"\0"):
        """A record with these values, by field name, and the filler wherever else."""
        data = bytearray(filler * self.size)
        for name, value in values.items():
            field = self.fields[name]
            data[field.offset:field.end] = field.encode(value, byteorder)
        return bytes(data)


def read_records(path=RECORDS):
    """The records and the numbers of a file in the form of records.conf, both by name. Raises ValueError with the line
    at fault."""
    records, numbers = {}, {}
    for line_number, line in data_lines(path):
        where = f"{path}:{line_number}"
        if found := NUMBER_LINE.fullmatch(line):
            name, *texts = found.groups()
            if name in numbers:
                raise ValueError(f"{where}: {name} is there already")
            numbers[name] = next(int(text, base) for text, base in zip(texts, (16, 8, 10)) if text)
            continue
        found = FIELD_LINE.fullmatch(line)
        if not found or found[4] not in FIELD_WIDTHS:
            raise ValueError(f"{where}: neither a field nor a number")
        fields = records.setdefault(found[1], Record(found[1], {})).fields
        starts = {0} if not fields else {list(fields.values())[-1].end, *(field.offset for field in fields.values())}
        if found[2] in fields or int(found[3]) not in starts:
            raise ValueError(f"{where}: {found[2]} is there already, or does not follow the field before")
        fields[found[2]] = Field(int(found[3]), found[4], FIELD_WIDTHS[found[4]] * int(found[5] or 1), bool(found[5]))
    return records, numbers
