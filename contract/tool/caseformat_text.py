# SPDX-License-Identifier: MIT
"""The macros of the cases, which the requests of the contract use too."""

import contract  # noqa: F401 - which puts tests/runner on the path

import caseformat
from vocabulary import parse_event  # noqa: F401 - of virtual_router/vocabulary


def expand(node):
    """Fills in the macros in all texts of a value."""
    if isinstance(node, dict):
        return {key: expand(value) for key, value in node.items()}
    if isinstance(node, list):
        return [expand(value) for value in node]
    return caseformat.expand(node) if isinstance(node, str) else node
