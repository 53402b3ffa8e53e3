# SPDX-License-Identifier: MIT
"""Who may use the control port: whoever knows the token. A new one is made for each start; the printed URL has it, and a file that
only the router's owner may read."""

import hmac
import json
import os
import secrets

from state import CONTROL_FILE

BEARER = "Bearer "
COOKIE = "control-{}"  # of the port: cookies of one host are common to its ports


class Token:
    def __init__(self, port):
        self.text = secrets.token_urlsafe(32)
        self.cookie_name = COOKIE.format(port)

    def is_it(self, text):
        return text is not None and hmac.compare_digest(text.encode(), self.text.encode())

    def known_to(self, authorization, cookie):
        """Whether a request has it, in one of its places. One that has a wrong one in its header has not."""
        if authorization is not None:
            return authorization.startswith(BEARER) and self.is_it(authorization[len(BEARER) :].strip())
        return self.is_it(cookie)

    def cookie(self):
        return f"{self.cookie_name}={self.text}; Path=/; HttpOnly; SameSite=Strict"

    def keep(self, folder, url):
        """Writes the file by which programs of the owner find the port."""
        new = folder / f"{CONTROL_FILE}.new"
        new.unlink(missing_ok=True)
        fd = os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW | os.O_CLOEXEC, 0o600)
        with open(fd, "w") as file:
            json.dump({"url": url, "token": self.text}, file)
        new.replace(folder / CONTROL_FILE)
