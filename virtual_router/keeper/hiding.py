# SPDX-License-Identifier: MIT
"""Hides what virtual_router/vocabulary/secrets.conf calls secret: by the name of the item or key that it stands under, and then
wherever the same text is again in what a program printed, as in a line of the debug log."""

import json
import re

from speech import vocabulary

HIDDEN = "***"
ITEMS = {word for kind, word, _ in vocabulary.read_rows("secrets.conf") if kind == "item"}
KEYS = {word.lower() for kind, word, _ in vocabulary.read_rows("secrets.conf") if kind == "key"}
SHORTEST = 4  # a shorter text is hidden in its own place only: it may be a part of anything

_TEXT = r'"(?:[^"\\]|\\.)*"'
MEMBER = re.compile(rf'("({"|".join(KEYS)})"\s*:\s*)({_TEXT}|[^\s,}}\]]+)', re.IGNORECASE)
# In lines that programs log, and in the session file's text.
_LOGGED = re.compile(r"\b((?:pwd|sessionid|id)=)([^\s,&\"]+)", re.IGNORECASE)
_SESSION = re.compile(r"\bUs[0-9a-f]{32}\b")


class Hiding:
    """Hides in the texts of one request. It learns by `learn()` what is secret beyond its own place."""

    def __init__(self):
        self.texts = set()

    def learn(self, secret):
        if len(secret) >= SHORTEST:
            self.texts.add(secret)

    def learn_from(self, text):
        """From JSON: the values of keys that are secret."""
        for match in MEMBER.finditer(text):
            value = match[3]
            if value.startswith('"'):
                try:
                    value = json.loads(value)
                except ValueError:
                    value = value[1:-1]
            self.learn(value)

    def hide(self, text):
        """In a request or a reply. Other values there stay, though one may be the same text."""
        text = MEMBER.sub(lambda match: f'{match[1]}"{HIDDEN}"', text)
        text = _LOGGED.sub(rf"\1{HIDDEN}", text)
        return _SESSION.sub(HIDDEN, text)

    def hide_all(self, text):
        """In what a program printed or ran."""
        text = self.hide(text)
        for secret in sorted(self.texts, key=len, reverse=True):
            for form in {secret, json.dumps(secret)[1:-1], json.dumps(secret, ensure_ascii=False)[1:-1]}:
                text = text.replace(form, HIDDEN)
        return text
