# SPDX-License-Identifier: MIT
"""The header lines of a program that was built with CGI_HEADERS: what stands before each reply, and alone in its place."""

import re

REPLY = re.compile(rb"Status: 200 OK\r\nContent-Type: application/json\r\nContent-Length: (\d+)\r\nCache-Control: no-store\r\n\r\n")
NO_REPLY = re.compile(rb"Status: (?:204 No Content|(?:400 Bad Request|503 Service Unavailable)\r\n"
                      rb"Content-Type: application/json\r\nContent-Length: 0)\r\nCache-Control: no-store\r\n\r\n")


def without_heads(writes):
    """What was written, without the header lines: what a program without them writes. Where they are wrong, they stay."""
    if len(writes) != 1:
        return writes or [b"(no header lines)"]
    if NO_REPLY.fullmatch(writes[0]):
        return []
    head = REPLY.match(writes[0])
    if not head or int(head[1]) != len(writes[0]) - head.end():
        return [b"(header lines that are none)", *writes]
    return [writes[0][head.end():]]
