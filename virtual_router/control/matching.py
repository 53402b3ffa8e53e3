# SPDX-License-Identifier: MIT
"""Whether a request was the one that somebody waits for, and by what it missed. Pure: of what the journal has read."""

import json
import re

from hiding import HIDDEN, ITEMS, KEYS
from speech import vocabulary

WORST = 100  # an expectation's first words weigh more than all that stands in a request

class Wrong(ValueError):
    """What is wanted makes no sense; the text says why."""

def shown(value):
    return json.dumps(value, ensure_ascii=False)[:200]

def is_pattern(wanted):
    """A text that begins with "~" is a regular expression for the whole text."""
    return isinstance(wanted, str) and wanted.startswith("~")

def check_patterns(wanted):
    """Raises Wrong where a regular expression in it is none."""
    if isinstance(wanted, (dict, list)):
        for value in wanted.values() if isinstance(wanted, dict) else wanted:
            check_patterns(value)
    elif is_pattern(wanted):
        try:
            re.compile(wanted[1:])
        except re.error as error:
            raise Wrong(f"{wanted}: {error}") from None


def same(wanted, found):
    if is_pattern(wanted):
        return isinstance(found, str) and re.fullmatch(wanted[1:], found, re.DOTALL) is not None
    if isinstance(wanted, bool) or isinstance(found, bool):
        return wanted is found
    return wanted == found

def misses(wanted, found, place=""):
    """Texts: by what JSON misses what is wanted of it. More keys may be there, and more elements of a list."""
    if isinstance(wanted, dict):
        if not isinstance(found, dict):
            return [f"{place or '/'} is {shown(found)}, and no object"]
        missing = [f"{place}/{key} is not there" for key in wanted if key not in found]
        return missing + [text for key, value in wanted.items() if key in found for text in misses(value, found[key], f"{place}/{key}")]
    if isinstance(wanted, list):
        if not isinstance(found, list):
            return [f"{place or '/'} is {shown(found)}, and no list"]
        return [text for number, value in enumerate(wanted) for text in misses_in_list(value, found, f"{place}/{number}")]
    if same(wanted, found):
        return []
    secret = place.rpartition("/")[2].lower() in KEYS
    return [f"{place or '/'} is {HIDDEN if secret else shown(found)}, not {HIDDEN if secret else shown(wanted)}"]

def misses_in_list(wanted, found, place):
    """The element that comes nearest tells by what it misses."""
    if not found:
        return [f"{place}: there is no element like {shown(wanted)}"]
    return min((misses(wanted, element, place) for element in found), key=len)

class Effect:
    """A line of events.conf of which the end may be left out: "set MIB_DUT_NAME" is any write of it."""

    def __init__(self, line):
        try:
            self.marks, rest = vocabulary.take_marks(line, vocabulary.EVENT_MARKS)
        except vocabulary.VocabularyError as error:
            raise Wrong(str(error)) from None
        self.word, _, self.rest = rest.partition(" ")
        if self.word not in vocabulary.EVENTS:
            raise Wrong(f"no effect is called '{self.word}' (there are: {' '.join(vocabulary.EVENTS)})")
        self.line = line
        name = self.rest.partition(" ")[0].partition("@")[0]
        self.shown = f"{self.word} {name} {HIDDEN}" if name in ITEMS and " " in self.rest else line

    def is_it(self, event):
        if event.word != self.word or ("failed" in event.marks) != ("failed" in self.marks):
            return False
        if any(name not in event.marks or (value is not None and event.marks[name] != value) for name, value in self.marks.items()):
            return False
        told = str(vocabulary.Event(event.word, event.fields)).partition(" ")[2]
        return told == self.rest or not self.rest or told.startswith(self.rest + " ")

class Expectation:
    """`wanted` has keys of SCHEMA."""

    def __init__(self, wanted):
        self.wanted = wanted
        self.effects = [Effect(line) for line in wanted.get("effects", ())]
        self.never = [Effect(line) for line in wanted.get("never", ())]
        for key in ("action", "request", "reply"):
            check_patterns(wanted.get(key))

    def check(self, line, reading):
        """(how far it is from what is wanted, texts: by what it misses); no texts: it is the one."""
        wanted = self.wanted
        first = []
        phone = wanted.get("phone")
        if phone is not None and line["port"] not in ((f"phone {phone}", "phone") if phone == 1 else (f"phone {phone}",)):
            first.append(f"it came by {line['port'] or 'no port'}, not by phone {phone}")
        if "action" in wanted and not same(wanted["action"], line["action"]):
            first.append(f"its action is {shown(line['action'])}, not {shown(wanted['action'])}")
        if "object" in wanted and wanted["object"] not in line["objects"]:
            first.append(f"it names {', '.join(line['objects']) or 'no object'}, not {wanted['object']}")
        rest = [f"request: {text}" for text in misses(wanted.get("request", {}), reading.request)]
        rest += [f"reply: {text}" for text in misses(wanted.get("reply", {}), reading.reply)]
        if "error" in wanted and line["error"] != wanted["error"]:
            rest.append(f"reply: the error is {shown(line['error'])}, not {wanted['error']}")
        rest += self.misses_of_effects([event for _, event in reading.events])
        return WORST * len(first) + len(rest), first + rest

    def misses_of_effects(self, events):
        """They must have come in this order; others may be between."""
        found = []
        at = 0
        for effect in self.effects:
            place = next((number for number in range(at, len(events)) if effect.is_it(events[number])), None)
            if place is not None:
                at = place + 1
            elif any(effect.is_it(event) for event in events):
                found.append(f"effect: {effect.shown} came before another that is wanted first")
            else:
                found.append(f"effect: {effect.shown} has not come")
        return found + [f"effect: {effect.shown} has come" for effect in self.never if any(effect.is_it(event) for event in events)]
