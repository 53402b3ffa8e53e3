# SPDX-License-Identifier: MIT
"""What these cases say of the time."""


def AGE(moment, start) -> int:
    return moment.second - int(start)
