# SPDX-License-Identifier: MIT
"""Macros of sys.toml."""


def UPTIME(moment) -> int:
    """The seconds since the kernel's start."""
    return moment.uptime
