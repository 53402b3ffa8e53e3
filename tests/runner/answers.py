# SPDX-License-Identifier: MIT
"""What the doubles of the shell and of the Wi-Fi driver answer with, in the form in which they read it."""

import seam
from caseformat import CaseError, expand, to_bytes

STATION = seam.read_records()[0]["StaInfoEntry"]
NUMBERS_OF_A_ROW = ("state", "tx_rate", "rssi", "wireless_mode", "rate_flags", "rx_rate")
NOTHING = b"\xee"


def command_table(commands):
    """The shell double's answers: command -> output text, or {output, status, remove}."""
    table = b""
    for command, answer in commands.items():
        answer = {"output": answer} if isinstance(answer, str) else answer
        unknown = set(answer) - {"output", "status", "remove"}
        if unknown:
            raise CaseError(f"{command}: unknown keys: {', '.join(unknown)}")
        parts = [to_bytes(expand(text)) for text in (command, answer.get("output", ""), answer.get("remove", ""))]
        head = f"{len(parts[0])} {answer.get('status', 0)} {len(parts[1])} {len(parts[2])}\n"
        table += head.encode() + b"".join(parts)
    return table


def station_table(rows):
    """The Wi-Fi driver's answer: a record that does not count, then one for each row.

    A row is "AID MAC FLAGS TX SIGNAL MODE RATE RX", numbers as in C, or "-" for an empty slot. Bytes that tell nothing
    are 0xEE, so that whoever takes them for something is seen.
    """
    table = NOTHING * STATION.size
    for row in (line for text in rows for line in expand(text).splitlines()):
        values = {"association_id": b""}
        if row != "-":
            aid, mac, *numbers = row.split()
            values = {"association_id": int(aid, 0).to_bytes(2, "little"), "mac": bytes.fromhex(mac.replace(":", ""))}
            if len(values["mac"]) != STATION.fields["mac"].width:
                raise CaseError(f"what MAC is that? {row}")
            values |= zip(NUMBERS_OF_A_ROW, (int(number, 0) for number in numbers), strict=True)
        table += STATION.pack(values, filler=NOTHING)
    return table
