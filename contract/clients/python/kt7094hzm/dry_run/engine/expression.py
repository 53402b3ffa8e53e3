# SPDX-License-Identifier: MIT
# mypy: ignore-errors
"""The conditions of the contract: "ssid text and not ssid breaks". README.md lists the words."""

import functools
import re

TOKEN = re.compile(r'\s*(?:(\(|\))|("[^"]*")|([^\s()"]+))')
NO_ARGUMENT = {"given", "missing", "there", "text", "null", "breaks", "repeated", "unfit"}
WITH_NUMBERS = {"longer": 1, "length": 1, "outside": 2}


class ExpressionError(Exception):
    """A condition that says nothing."""


@functools.cache
def parse(text):
    """The tree of a condition: ("or", a, b), ("and", a, b), ("not", a), or (predicate, path, arguments)."""
    tokens, at = [], 0
    while at < len(text.rstrip()):
        match = TOKEN.match(text, at)
        tokens.append(match[1] or match[2] or match[3])
        at = match.end()
    tokens.append(None)
    tree, rest = disjunction(tokens, 0)
    if tokens[rest] is not None:
        raise ExpressionError(f"{text}: what is {tokens[rest]}?")
    return tree


def disjunction(tokens, at):
    tree, at = conjunction(tokens, at)
    while tokens[at] == "or":
        right, at = conjunction(tokens, at + 1)
        tree = ("or", tree, right)
    return tree, at


def conjunction(tokens, at):
    tree, at = factor(tokens, at)
    while tokens[at] == "and":
        right, at = factor(tokens, at + 1)
        tree = ("and", tree, right)
    return tree, at


def factor(tokens, at):
    if tokens[at] == "not":
        tree, at = factor(tokens, at + 1)
        return ("not", tree), at
    if tokens[at] == "(":
        tree, at = disjunction(tokens, at + 1)
        if tokens[at] != ")":
            raise ExpressionError(f"a ) is missing before {tokens[at]}")
        return tree, at + 1
    path, at = tokens[at], at + 1
    if path is None:
        raise ExpressionError("it ends too early")
    if tokens[at] == "(":  # of several keys together: pool(ip mask ipStart ipEnd)
        end = tokens.index(")", at)
        path, at = tuple(tokens[at + 1:end]), end + 1
    word = tokens[at]
    if word in NO_ARGUMENT:
        return (word, path, ()), at + 1
    if word in WITH_NUMBERS:
        count = WITH_NUMBERS[word]
        return (word, path, tuple(int(number) for number in tokens[at + 1:at + 1 + count])), at + 1 + count
    if word in ("=", "!="):
        value = tokens[at + 1]
        value = value[1:-1] if value.startswith('"') else int(value)
        test = ("=", path, (value,))
        return (test if word == "=" else ("not", test)), at + 2
    raise ExpressionError(f"{path}: what is {word}?")


def paths(tree):
    """All paths that a condition names."""
    if tree[0] in ("or", "and", "not"):
        return {path for branch in tree[1:] for path in paths(branch)}
    return set(tree[1]) if isinstance(tree[1], tuple) else {tree[1]}
