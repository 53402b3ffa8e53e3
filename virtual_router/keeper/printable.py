# SPDX-License-Identifier: MIT
"""Text of a router, made fit for a terminal."""

import codecs
import unicodedata

_UNPRINTABLE = {"Cc", "Cf", "Cs", "Co", "Cn", "Zl", "Zp"}


def _escape(error):
    return "".join(f"\\x{byte:02x}" for byte in error.object[error.start : error.end]), error.end


codecs.register_error("escape", _escape)


def printable(line):
    """Bytes as a text that no terminal acts on: control characters and what is no UTF-8 become \\xNN."""
    text = line.decode("utf-8", "escape")
    if text.isascii() and text.isprintable():
        return text
    return "".join(
        character if unicodedata.category(character) not in _UNPRINTABLE else "".join(f"\\x{byte:02x}" for byte in character.encode("utf-8", "surrogateescape"))
        for character in text
    )
