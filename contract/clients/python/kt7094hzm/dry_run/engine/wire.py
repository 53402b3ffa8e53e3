# SPDX-License-Identifier: MIT
# mypy: ignore-errors
"""Requests as the router reads them: JSON by the rules of its parser, and one rule for values of a wrong type.

A document is made of Python's own values, but objects are lists of pairs in an Object, because a key may stand twice and
is found whatever the case of its letters, and numbers are floats.
"""

import re

MISSING = object()
DEEPEST = 1000
INT_MIN, INT_MAX = -(1 << 31), (1 << 31) - 1
NUMBER = re.compile(rb"[+-]?(\d+\.?\d*([eE][+-]?\d+)?|\.\d+([eE][+-]?\d+)?)")
PLAIN = re.compile(rb'[^"\\]*')
ESCAPES = {b"b": "\b", b"f": "\f", b"n": "\n", b"r": "\r", b"t": "\t", b'"': '"', b"\\": "\\", b"/": "/"}


class Object(list):
    """The members of a JSON object as (key, value), in their order."""


class ParseError(Exception):
    """The text is no JSON to the router."""


def parse(data):
    """The document at the beginning of `data`, which are bytes; what stands behind it is not looked at."""
    data = read_lines(data)
    value, _ = parse_value(data, skip(data, 3 if data.startswith(b"\xef\xbb\xbf") else 0), 0)
    return value


def read_lines(data):
    """The body as it is read: line by line, each up to its first zero byte; one that begins with one ends it."""
    if b"\0" not in data:
        return data
    text = b""
    for line in re.findall(rb"[^\n]*\n|[^\n]+", data):
        if line.startswith(b"\0"):
            break
        text += line.split(b"\0")[0]
    return text


def skip(data, at):
    while at < len(data) and data[at] <= 32:
        at += 1
    return at


def parse_value(data, at, depth):
    for literal, value in ((b"null", None), (b"false", False), (b"true", True)):
        if data.startswith(literal, at):
            return value, at + len(literal)
    first = data[at:at + 1]
    if first == b'"':
        return parse_text(data, at + 1)
    if first and first in b"-0123456789":
        match = NUMBER.match(data[at:at + 63])
        if match is None:
            raise ParseError(at)
        return float(match[0]), at + match.end()
    if first not in (b"[", b"{") or depth >= DEEPEST:
        raise ParseError(at)
    return parse_members(data, at + 1, depth + 1, first == b"{")


def parse_members(data, at, depth, is_object):
    members, end = (Object(), b"}") if is_object else ([], b"]")
    at = skip(data, at)
    if data[at:at + 1] == end:
        return members, at + 1
    while True:
        at = skip(data, at)
        if is_object:
            if data[at:at + 1] != b'"':
                raise ParseError(at)
            key, at = parse_text(data, at + 1)
            at = skip(data, at)
            if data[at:at + 1] != b":":
                raise ParseError(at)
            value, at = parse_value(data, skip(data, at + 1), depth)
            members.append((key, value))
        else:
            value, at = parse_value(data, at, depth)
            members.append(value)
        at = skip(data, at)
        if data[at:at + 1] == end:
            return members, at + 1
        if data[at:at + 1] != b",":
            raise ParseError(at)
        at += 1


def parse_text(data, at):
    """A text ends at a zero character, as texts do on the router; bytes that are no UTF-8 are surrogates."""
    parts = b""
    while True:
        plain = PLAIN.match(data, at)
        parts, at = parts + plain[0], plain.end()
        byte = data[at:at + 1]
        if not byte:
            raise ParseError(at)
        if byte == b'"':
            return parts.split(b"\0")[0].decode("utf-8", "surrogateescape"), at + 1
        byte = data[at + 1:at + 2]
        if byte in ESCAPES:
            parts, at = parts + ESCAPES[byte].encode(), at + 2
        elif byte == b"u":
            code, at = hexadecimal(data, at + 2), at + 6
            if 0xDC00 <= code <= 0xDFFF:
                raise ParseError(at)
            if 0xD800 <= code <= 0xDBFF:
                low = hexadecimal(data, at + 2)
                if data[at:at + 2] != b"\\u" or not 0xDC00 <= low <= 0xDFFF:
                    raise ParseError(at)
                code, at = 0x10000 + ((code & 0x3FF) << 10 | low & 0x3FF), at + 6
            parts += chr(code).encode()
        else:
            raise ParseError(at)


def hexadecimal(data, at):
    """Four digits; what is none makes the whole of it 0."""
    digits = data[at:at + 4]
    if len(digits) < 4:
        raise ParseError(at)
    return int(digits, 16) if re.fullmatch(rb"[0-9a-fA-F]{4}", digits) else 0


# ---- readers

def find(parent, key):
    """The value under `key`, whatever the case of its letters; MISSING when there is none."""
    if isinstance(parent, Object):
        for name, value in parent:
            if lower(name) == lower(key):
                return value
    return MISSING


def lower(text):
    return re.sub("[A-Z]", lambda letter: letter[0].lower(), text)


def integer(value):
    """What a number key is worth."""
    if value is True:
        return 1
    if isinstance(value, float):
        return INT_MAX if value >= INT_MAX else INT_MIN if value <= INT_MIN else int(value) if value == value else 0
    return 0


def decimal(text):
    """The number at the beginning of a text, 0 without one."""
    match = re.match(r"[ \t\n\v\f\r]*([+-]?0*[0-9]{1,11})", text)
    return max(INT_MIN, min(INT_MAX, int(match[1]))) if match else 0


def signed_byte(number):
    return (number & 0xFF) - 256 if number & 0x80 else number & 0xFF


def length(text):
    return len(text.encode("utf-8", "surrogateescape"))


def ipv4(text):
    """The address of a text as four bytes, short, octal and hexadecimal forms included; None when it is none."""
    head = re.split(r"[ \t\n\v\f\r]", text, maxsplit=1)[0]
    numbers = []
    for part in head.split("."):
        if not re.fullmatch(r"0[xX][0-9a-fA-F]*|[0-9]+", part):
            return None
        try:
            numbers.append(int(part, 16) if part[:2] in ("0x", "0X") and part[2:] else int(part, 8 if part[0] == "0" else 10))
        except ValueError:
            return None
    if len(numbers) > 4 or any(number > 255 for number in numbers[:-1]) or numbers[-1] >= 256 ** (5 - len(numbers)):
        return None
    value = 0
    for at, number in enumerate(numbers[:-1]):
        value |= number << 24 - 8 * at
    return (value | numbers[-1]).to_bytes(4, "big")
