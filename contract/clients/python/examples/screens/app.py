# SPDX-License-Identifier: MIT
"""Three screens of an app, as the text that a person reads on them, whatever the router does."""

from __future__ import annotations

from typing import Callable

from kt7094hzm import LoginRefused, NoReply, Refused, Router, SessionLost, TimedOut

PATIENCE_SECONDS = 10.0


class App:
    def __init__(self, url: str) -> None:
        self.router = Router(url, timeout=PATIENCE_SECONDS, relogin=False)
        self.saved = ""  # the name that the person has given to the router

    def login(self) -> str:
        def screen() -> str:
            self.router.login()
            return f"Signed in to {self.router.scan()['name']}"

        return shown(screen)

    def devices(self) -> str:
        def screen() -> str:
            found = self.router.get("lanStatus")["lanStatus"]["devlist"]
            nameless = sum(not device["name"] for device in found)
            return f"{len(found)} devices" + (f", {nameless} without a name" if nameless else "")

        return shown(screen)

    def settings(self) -> str:
        def screen() -> str:
            name = self.router.get("dutInfo")["dutInfo"]["name"]
            return f"Name: {name}" if self.saved in ("", name) else f"Name: {name}. The router has not kept {self.saved}"

        return shown(screen)

    def rename(self, name: str) -> str:
        """The settings screen's button. An error of the store is in no reply, so the screen reads what it has written."""

        def screen() -> str:
            self.router.set({"dutInfo": {"name": name}})
            self.saved = name
            return self.settings()

        return shown(screen)


def shown(screen: Callable[[], str]) -> str:
    try:
        return screen()
    except LoginRefused:
        return "Wrong password"
    except SessionLost:
        return "Somebody else has signed in. Sign in again?"
    except TimedOut:
        return "The router takes long. Try again?"
    except Refused as error:
        return f"The router refuses: {error.cause or error.text}"
    except NoReply as error:
        return "Is the router on, and are you at home?" if "can't be reached" in str(error) else "The router's answer makes no sense. Try again?"
