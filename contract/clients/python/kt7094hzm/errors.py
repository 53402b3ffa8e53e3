# SPDX-License-Identifier: MIT
"""What can go wrong, as types."""

from .types import CAUSES


class RouterError(Exception):
    """Of all errors that a router's client raises. Those that the router's reply tells have `code`, its "error", `text`, its
    "msg", and `cause`."""


class Refused(RouterError):
    """An object refused. `code` and `text` are the reply's "error" and "msg"; `cause` says why, where the message tells."""

    def __init__(self, action: str, code: int, text: str, object_name: str, cause: str) -> None:
        said = text.strip() or "refused without a message"
        super().__init__(f"{action}{' ' + object_name if object_name else ''}: {said}{f' ({cause})' if cause else ''}")
        self.action = action
        self.code = code
        self.text = text
        self.object = object_name
        self.cause = cause


class LoginRefused(RouterError):
    """Name or password is wrong."""

    code = 7
    text = "login fail"
    cause = CAUSES["login", "", "login fail"]


class SessionLost(RouterError):
    """The session is gone, and a new one did not last either, or was not to be made."""

    code = 6
    text = "need login"
    cause = CAUSES["login", "", "need login"]


class TimedOut(RouterError):
    """No reply came in time. The router may have done what it was asked for."""


class NoReply(RouterError):
    """The router could not be reached, or what came is no reply of it."""
