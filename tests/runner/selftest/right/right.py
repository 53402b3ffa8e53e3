# SPDX-License-Identifier: MIT
"""Macros of right.toml and wrong.toml: one of every kind."""

import re


def AGE(moment, offset) -> int:
    return moment.second - moment.laid_out - int(offset)


def UP(moment) -> int:
    return moment.uptime


def PICK(moment, add, texts) -> str:
    """One of the letters of `texts`, whose commas are passed over."""
    return texts.replace(",", "")[(moment.second + int(add)) % 7]


def SOME(count, characters) -> re.Pattern:
    return re.compile(f"[{characters}]{{{count}}}")
