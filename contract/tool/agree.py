# SPDX-License-Identifier: MIT
"""Whether the dry run tells what the program does: compared on every request of every case."""

from engine import dryrun
from caseformat_text import parse_event

INTERFACES = {"wlan0": "0.0", "wlan1": "1.0", "wlan0-va1": "0.2", "wlan1-va1": "1.2"}
WRITES = {"set", "add", "delete", "delete-all"}
MESSAGES = {"MSG_RESET": 2, "MSG_REBOOT": 3, "MSG_APP_SCHREBOOT": 5, "MSG_APP_FWUPG": 6, "MSG_APP_SETQOS": 7,
            "MSG_APP_START_SPEEDTEST": 8, "MSG_APP_REPORTOSERVER_WANSTA": 9}
APP_REINIT, CALL_SYSCONF = 4, 10


def written(events, refused=True):
    """The items that were written, as (name, interface or ""); those that the store refused too, if wanted."""
    found = []
    for event in map(parse_event, events):
        if event.word in WRITES and (refused or "failed" not in event.marks):
            name, _, place = event.fields[0].partition("@")
            found.append((name, place))
    return found


def fits(item, seen):
    """Whether an item of the contract is the one that was seen written."""
    name, _, place = item.partition("@")
    return name == seen[0] and (place in ("", "each") or INTERFACES[place] == seen[1])


def reply_of(document):
    """(kind, code, message) of a reply."""
    if document is None:
        return "", None, None
    result = document["result"]
    return document.get("action", "error_request"), result["error"], result.get("msg")


def differences(end, step):
    """What of a case does not fit an end, as texts; none: it is how the request ended."""
    kind, code, message = reply_of(step.document)
    if (end.reply, end.message) != (kind, message) or kind and end.code != code:
        return ["another reply"]
    seen = written(step.events)
    found = [f"{item} was not written" for item, state in end.effects.writes if not state and not any(fits(item, one) for one in seen)]
    found += [f"{name} was written" for name, place in written(step.events, refused=False)
              if not any(fits(item, (name, place)) for item, _ in end.effects.writes)]
    committed = any(parse_event(event).word == "commit" for event in step.events)
    if committed != bool(end.effects.commit):
        found.append("it was " + ("" if committed else "not ") + "committed")
    if not any("msg" in fault for fault in step.world.get("fail", [])) and step.step.get("exit", 0) == 0:
        found += queue_differences(end, step.queue)
    return found


def queue_differences(end, queue):
    wanted = [MESSAGES[name] for name, state in end.effects.sends if not state]
    allowed = [MESSAGES[name] for name, _ in end.effects.sends]
    for each in dryrun.restarts(end.effects):
        wanted.append(APP_REINIT if each == "all" else CALL_SYSCONF)
    allowed += wanted
    missing = [kind for kind in wanted if wanted.count(kind) > queue.count(kind)]
    extra = [kind for kind in queue if kind not in allowed]
    return [f"message {kind} was not sent" for kind in missing] + [f"message {kind} was sent" for kind in extra]


def judge(contract, step):
    """(how many ends there are, differences from the nearest): no differences, and the dry run agrees."""
    ends = dryrun.ends_of(contract, step.body)
    found = [differences(end, step) for end in ends]
    return len(ends), min(found, key=lambda each: (each == ["another reply"], len(each)))
