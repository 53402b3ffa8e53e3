# SPDX-License-Identifier: MIT
"""What the router stands in: its addresses and those around it, as the router's own commands read them."""

import shlex


class Facts(dict):
    def __init__(self, path):
        self.text = path.read_text()
        words = shlex.split(self.text, comments=True)
        super().__init__(word.split("=", 1) for word in words if "=" in word)
