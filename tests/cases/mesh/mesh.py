# SPDX-License-Identifier: MIT
"""Macros of mesh.toml."""

import ctypes
import re

libc = ctypes.CDLL(None)


def ANY(count, characters) -> re.Pattern:
    """%ANY(name,count,A-Z_)%: so many characters out of a set."""
    some = re.sub(r"(\w)-(\w)|(.)", lambda match: f"{match[1]}-{match[2]}" if match[1] else re.escape(match[3]), characters)
    return re.compile(f"[{some}]{{{count}}}")


def DRAWN(moment, add, factor, skip, count, characters) -> str:
    """What rand(), but for the first `skip`, picks after srand() of the second plus `add`, times `factor`."""
    libc.srand(ctypes.c_uint((moment.second + int(add)) * int(factor)))
    for _ in range(int(skip)):
        libc.rand()
    return "".join(characters[libc.rand() % len(characters)] for _ in range(int(count)))
