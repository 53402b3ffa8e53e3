# SPDX-License-Identifier: MIT
"""The pages of the documentation and the examples in them. tests/docs/run --help says what counts as one."""

import pathlib
import re
import types

PROJECT = pathlib.Path(__file__).resolve().parents[2]
INDEX = PROJECT / "docs/objects/README.md"
PROTOCOL = PROJECT / "docs/protocol.md"
FIRST_PAGES = [PROJECT / "README.md", PROTOCOL]
LAST_PAGES = [PROJECT / "docs/homes.md", PROJECT / "docs/control.md"]

FENCE = re.compile(r"```(.*)")
PROMPT = "$ "
ASSIGNMENT = re.compile(r"([A-Z]+)=")
COMMANDS = (PROMPT + "curl ", PROMPT + "script/router ")
VARIES = re.compile(r"<!-- varies: (.*) -->")
ROUTER = re.compile(r"^<!-- router: (.*) -->$", re.MULTILINE)
VARYING_NUMBER = re.compile(r"[0-9a-f]{32}|[0-9]+(\.[0-9]+)?")


class Example(types.SimpleNamespace):
    """page (from the project's folder), line, command, reply (text), varies (keys), later (bool)."""

    @property
    def place(self):
        return f"{self.page}:{self.line}"

    def matches(self, output):
        return self.steady(output) == self.steady(self.reply)

    def steady(self, text):
        """Replaces what is not the same each time."""
        for key in self.varies:
            text = re.sub(
                rf'("{re.escape(key)}":\t)("(?:[^"\\]|\\.)*"|[^,\n]*)',
                lambda match: match[1] + VARYING_NUMBER.sub("#", match[2]),
                text,
            )
        return text


def blocks(lines):
    """Yields (number of the first line inside, info string, line before, lines inside) of each fenced block."""
    start, info = None, []
    for number, line in enumerate(lines):
        fence = FENCE.fullmatch(line.rstrip())
        if start is not None and line.rstrip() == "```":
            yield start + 2, info, lines[start - 1] if start else "", lines[start + 1 : number]
            start = None
        elif start is None and fence:
            start, info = number, fence[1].split()
    if start is not None:
        raise ValueError(f"the block in line {start + 1} does not end")


def is_example(line):
    return line.startswith(COMMANDS) or (line.startswith(PROMPT) and ASSIGNMENT.match(line, len(PROMPT)))


def examples(page):
    """Returns the examples of a page."""
    found = []
    for first, info, before, inside in blocks(page.read_text().splitlines()):
        if not inside or not is_example(inside[0]):
            continue
        varies = VARIES.fullmatch(before.strip())
        for number, line in enumerate(inside, first):
            if line.startswith(PROMPT):
                found.append(
                    Example(
                        page=page.relative_to(PROJECT),
                        line=number,
                        command=line.removeprefix(PROMPT),
                        reply="",
                        varies=varies[1].split(", ") if varies else [],
                        later="later" in info,
                    )
                )
            else:
                found[-1].reply += line + "\n"
    return found


def pages():
    """Returns all pages in order."""
    links = re.findall(r"\]\(([A-Za-z]+\.md)\)", INDEX.read_text())
    return FIRST_PAGES + [INDEX.parent / link for link in dict.fromkeys(links)] + LAST_PAGES


def router_options(page):
    """The options of the router that a page has of its own; None: it shares the others'."""
    options = ROUTER.search(page.read_text()) if page.exists() else None
    return options[1].split() if options else None
