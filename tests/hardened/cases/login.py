# SPDX-License-Identifier: MIT
"""Macros of login.toml."""

import re


def ID() -> re.Pattern:
    """%ID(name)%: a session id."""
    return re.compile("Us[0-9a-f]{32}")
