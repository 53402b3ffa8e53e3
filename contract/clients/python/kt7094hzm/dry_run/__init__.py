# SPDX-License-Identifier: MIT
"""What a request would do, told without a router and from the contract alone: dry_run({"action": "set", "app": {"port": 1}})."""

from __future__ import annotations

import json
import pathlib
from dataclasses import dataclass
from typing import Any, Dict, List, Mapping, Optional, Tuple, Union

from .engine import dryrun


@dataclass
class Outcome:
    """One way in which a request can end. `state` is what of the router leads to it; "" for the one without any."""

    reply: str
    code: Union[int, str]
    text: Optional[str]
    object: str
    cause: str
    state: str
    writes: List[Tuple[str, Optional[str]]]
    committed: str
    restarts: List[str]


class _Contract:
    def __init__(self) -> None:
        document: Dict[str, Any] = json.loads((pathlib.Path(__file__).parent / "contract.json").read_text(encoding="utf-8"))
        self.order: List[str] = document["order"]
        self.objects: Dict[str, Any] = document["objects"]
        self.protocol = {"request": document["request"], "login": {"request": document["login"]}}


_engine: Any = dryrun  # which has no types
_CONTRACT = _Contract()


def dry_run(request: Mapping[str, object]) -> List[Outcome]:
    """All ways in which a request can end. The last needs nothing of the router; the others name the state that leads to them."""
    ends: List[Any] = _engine.ends_of(_CONTRACT, json.dumps(request).encode())
    return [
        Outcome(end.reply, end.code, end.message, end.object, end.cause, end.state, list(end.effects.writes), end.effects.commit,
                list(_engine.restarts(end.effects)))
        for end in ends
    ]


def unknown_keys(request: Mapping[str, object]) -> List[Tuple[str, str]]:
    """The keys that nobody reads, each with the one that was perhaps meant."""
    found: List[Tuple[str, str]] = _engine.unknown_keys(_CONTRACT, json.dumps(request).encode())
    return found
