# SPDX-License-Identifier: MIT
"""The objects as gateway/handler/objects.h has them, which alone names them and says their order."""

import re

TABLE = "gateway/handler/objects.h"
ROW = re.compile(r'^ *(OBJECT|READ_ONLY|WRITE_ONLY)\("(\w+)", *\w+(?:, *\w+)?\) *\\?$', re.MULTILINE)


def read(project):
    """The rows in order: {object: {"get": whether it can be read, "set": whether it can be set}}. ValueError: a row of
    another form."""
    text = (project / TABLE).read_text()
    rows = {name: {"get": kind != "WRITE_ONLY", "set": kind != "READ_ONLY"} for kind, name in ROW.findall(text)}
    lines = len(re.findall(r'^ +[A-Z_]+\(', text, re.MULTILINE))
    if not rows or lines != len(rows):
        raise ValueError(f"{TABLE}: {lines} rows, {len(rows)} of which were understood")
    return rows
