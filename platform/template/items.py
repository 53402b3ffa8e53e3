#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints platform/items.conf as tables of C: what a store has to know of each item, where its value lies in a plain file, and
what is there in a router that leaves the factory."""

import ipaddress
import pathlib
import sys
import zlib

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import seam  # noqa: E402

PLACES = {"wlan0": 0, "wlan0-va0": 1, "wlan0-va1": 2, "wlan0-va2": 3, "wlan0-va3": 4, "wlan0-vxd": 5,
          "wlan1": 6, "wlan1-va0": 7, "wlan1-va1": 8, "wlan1-va2": 9, "wlan1-va3": 10, "wlan1-vxd": 11}
COUNT = 4  # bytes of a table's count, before its entries


def slot_size(item):
    return COUNT + item.limit * item.width if item.is_table else item.width


def as_c(data):
    return '"' + "".join(f"\\{byte:03o}" for byte in data) + '"'


def default_rows(item, at, default):
    """(place in the file, bytes, number, text): a number is stored in the processor's byte order, so it stays one."""
    if item.kind == "text":
        data = default[1:-1].encode()
        return [(at, len(data), 0, as_c(data))] if data else []
    if item.kind == "ipv4":
        return [(at, 4, 0, as_c(ipaddress.IPv4Address(default).packed))]
    if item.is_table:
        entries = [bytes.fromhex(entry) for entry in default.split(",")] if default != "-" else []
        rows = [(at, COUNT, len(entries), "0")] if entries else []
        return rows + [(at + COUNT + n * item.width, item.width, 0, as_c(entry)) for n, entry in enumerate(entries)]
    return [(at, item.width, int(default), "0")] if int(default) else []


def main():
    rows, defaults, at = [], [], 0
    for item in sorted(seam.read_items(), key=lambda item: item.id):
        at = (at + 3) & ~3
        places = len(PLACES) if item.per_interface else 1
        rows.append(f'    {{{item.id}, "{item.name}", {item.kind.upper()}, {item.width}, {item.limit}, {item.match}, {places}, {at}}},')
        for place in range(places):
            name = next((name for name, number in PLACES.items() if number == place), "") if places > 1 else ""
            defaults += default_rows(item, at + place * slot_size(item), item.defaults.get(name, item.default))
        at += places * slot_size(item)
    print("/* Made from platform/items.conf by platform/template/items.py. */")
    print(f"enum {{ kItems = {len(rows)}, kDefaults = {len(defaults)}, kValues = {(at + 3) & ~3} }};")
    print(f"enum {{ kLayout = {zlib.crc32(chr(10).join(rows).encode()) & 0x7fffffff} }}; /* another one with each change of an item */")
    print("static const struct item items[kItems] = {", *rows, "};", sep="\n")
    print("#ifndef ITEMS_ONLY")
    print("static const struct factory factory[kDefaults] = {")
    print("\n".join(f"    {{{place}, {width}, {number}, {text}}}," for place, width, number, text in defaults))
    print("};")
    print("#endif")


main()
