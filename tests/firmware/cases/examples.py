# SPDX-License-Identifier: MIT
"""What these cases say of the time."""


def SINCE(moment, start) -> int:
    return moment.second - int(start)


def UPTIME(moment) -> int:
    return moment.uptime
