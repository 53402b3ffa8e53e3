# SPDX-License-Identifier: MIT
"""Bodies of requests and replies, which may be anything."""

import json


def json_object(data):
    """The object that bytes or a text are as JSON; None where they are none."""
    try:
        found = json.loads(data.decode("utf-8", "replace") if isinstance(data, bytes) else data)
    except (TypeError, ValueError, RecursionError):
        return None
    return found if isinstance(found, dict) else None
