# SPDX-License-Identifier: MIT
"""Macros that stand for what is not the same each time, and those that a case file defines itself, in the Python file of its name beside
it: README.md says how."""

import dataclasses
import importlib.util
import inspect
import re

COMMON = {"REPEAT", "TEXT", "BYTE", "HEX", "NUL", "NL", "ERROR", "EACH", "LIST", "TIME", "LAID", "SESSION"}  # of all files
CALL = re.compile(r"%([A-Z]+)\((.*?)\)%", re.S)


@dataclasses.dataclass
class Moment:
    """What the value of a macro may depend on."""

    second: int        # of the request, since 1970
    uptime: int = 0    # seconds since the kernel's start, rounded up
    laid_out: int = 0  # the second in which the case's files were laid out


class Macros:
    """The macros of one case file."""

    def __init__(self, functions):
        self.values = {name: function for name, function in functions.items() if returns(function) in (str, int)}
        self.patterns = {name: function for name, function in functions.items() if returns(function) is re.Pattern}
        for name in functions.keys() & COMMON:
            raise ValueError(f"all case files have a macro {name}")
        for name in functions.keys() - self.values.keys() - self.patterns.keys():
            raise ValueError(f"the macro {name} returns neither str, int nor re.Pattern")
        numbers = "|".join(name for name in self.values if returns(self.values[name]) is int)
        self.number = re.compile(rf'"(%(?:{numbers})\([^)]*\)%)"') if numbers else None

    def fill(self, text, moment):
        """Fills in those that stand for a text or a number."""

        def value(match):
            function = self.values.get(match[1])
            return match[0] if function is None else str(function(moment, *arguments(function, match[2], 1)))

        return CALL.sub(value, text) if self.values and "%" in text else text

    def bare_numbers(self, reply):
        """A reply's JSON with numbers where the case has texts, so that it is JSON."""
        return self.number.sub(r"\1", reply) if self.number else reply

    def resolve(self, wanted, seen):
        """Fills in those that stand for a pattern: a wanted line that fits the one seen in its place becomes that line.

        `wanted` and `seen` are lists of lines. The first argument names what fits, the same text wherever the name is.
        """
        found, lines = {}, list(wanted)
        for number, line in enumerate(lines[:len(seen)] if self.patterns else []):
            pattern, end, names = "", 0, []
            for match in CALL.finditer(line):
                function = self.patterns.get(match[1])
                if function is None:
                    continue
                name, _, rest = match[2].partition(",")
                own = re.escape(found[name]) if name in found else f"(?P={name})" if name in names else \
                    f"(?P<{name}>{function(*arguments(function, rest, 0)).pattern})"
                pattern += re.escape(line[end:match.start()]) + own
                end = match.end()
                names.append(name)
            match = re.fullmatch(pattern + re.escape(line[end:]), seen[number], re.S) if names else None
            if match:
                found |= match.groupdict()
                lines[number] = seen[number]
        return lines


def returns(function):
    return inspect.signature(function).return_annotation


def arguments(function, text, given):
    """The texts between the commas, but for `given` parameters; the last may hold commas."""
    count = len(inspect.signature(function).parameters) - given
    return text.split(",", count - 1) if text and count else []


def of_file(path):
    """Those of a case file: the functions with capital names of the Python file beside it, if there is one."""
    path = path.with_suffix(".py")
    if not path.exists():
        return Macros(OF_ALL)
    source = importlib.util.spec_from_file_location(f"macros_of_{path.stem}", path)
    module = importlib.util.module_from_spec(source)
    source.loader.exec_module(module)
    own = {name: value for name, value in vars(module).items() if name.isupper() and inspect.isfunction(value)}
    for name in own.keys() & OF_ALL.keys():
        raise ValueError(f"all case files have a macro {name}")
    return Macros({**OF_ALL, **own})


def UPTIME(moment) -> int:
    """The seconds since the kernel's start."""
    return moment.uptime


def SINCE(moment, offset) -> int:
    """%SINCE(-90)%: the seconds since what `files` names %TIME(-90)%: 90, or more if the case is slow."""
    return moment.second - moment.laid_out - int(offset)


OF_ALL = {"UPTIME": UPTIME, "SINCE": SINCE}
