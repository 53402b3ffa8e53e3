# SPDX-License-Identifier: MIT
"""Client of the router's configuration endpoint: Router, AsyncRouter, and errors as types."""

from ._core import Change
from .asynchronous import AsyncRouter
from .errors import LoginRefused, NoReply, Refused, RouterError, SessionLost, TimedOut
from .plain import Router

__all__ = ["AsyncRouter", "Change", "LoginRefused", "NoReply", "Refused", "Router", "RouterError", "SessionLost", "TimedOut"]
