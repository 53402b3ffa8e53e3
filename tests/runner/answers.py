"""What the doubles of the shell and of the Wi-Fi driver answer with, in the form in which they read it."""

from caseformat import CaseError, expand, to_bytes

STATION_SIZE = 63


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
    table = b"\xee" * STATION_SIZE
    for row in (line for text in rows for line in expand(text).splitlines()):
        record = bytearray(b"\0\0" + b"\xee" * (STATION_SIZE - 2))
        if row != "-":
            aid, mac, *numbers = row.split()
            record[0:2] = int(aid, 0).to_bytes(2, "little")
            record[2:8] = bytes.fromhex(mac.replace(":", ""))
            for offset, number in zip((20, 22, 23, 52, 53, 54), numbers, strict=True):
                record[offset] = int(number, 0)
        if len(record) != STATION_SIZE:
            raise CaseError(f"what MAC is that? {row}")
        table += record
    return table
