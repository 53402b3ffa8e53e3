# SPDX-License-Identifier: MIT
"""Macros of login.toml."""

import re


def ID() -> re.Pattern:
    """%ID(name)%: a session id."""
    return re.compile("Us[0-9a-f]{32}")


def ROOM() -> re.Pattern:
    """%ROOM(name)%: what is left of the file that remembers attempts, which keeps its length."""
    return re.compile("\0+")
