# SPDX-License-Identifier: MIT
"""Polls a router like a home automation does: poller.py http://127.0.0.1:8080/app/app.cgi [LOOKS]"""

import asyncio
import itertools
import sys

from kt7094hzm import AsyncRouter, NoReply, TimedOut


async def main(url: str, looks: int) -> None:
    router = AsyncRouter(url, on_session_lost=lambda: print("somebody else has logged in; logging in again"))
    info = await router.scan()
    print(f"{info['name']} ({info['model']})")
    for look in itertools.count(1):
        try:
            state = await router.get("wanStatus", "lanStatus", "sys", timeout=20)
        except (NoReply, TimedOut) as error:
            print(f"unavailable: {error}")
        else:
            wan, devices = state["wanStatus"], state["lanStatus"]["devlist"]
            print(f"up {state['sys']['upTime']} s, WAN {wan['status']}, {wan['dSpeed']} kbit/s down, {len(devices)} devices")
        if look == looks:
            return
        await asyncio.sleep(1)


asyncio.run(main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 0))
