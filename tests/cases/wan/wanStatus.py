# SPDX-License-Identifier: MIT
"""Macros of wanStatus.toml."""


def SINCE(moment, offset) -> int:
    """%SINCE(-90)%: the seconds since what `files` names %TIME(-90)%: 90, or more if the case is slow."""
    return moment.second - moment.laid_out - int(offset)
