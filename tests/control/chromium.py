# SPDX-License-Identifier: MIT
"""Pages in Chromium without a window, spoken with over the browser's own port. What the browser complains of is kept."""

import asyncio
import base64
import contextlib
import itertools
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

from tornado.httpclient import HTTPRequest
from tornado.websocket import websocket_connect

SECONDS = 60
# A container's or a plain root's /dev/shm is small or missing.
QUIET = (
    "--no-first-run", "--disable-gpu", "--disable-extensions", "--disable-background-networking", "--disable-sync", "--disable-component-update",
    "--force-device-scale-factor=1", "--hide-scrollbars", "--lang=en", "--disable-dev-shm-usage",
)  # fmt: skip
# Chromium's own sandbox refuses to be root's; what it shows here is our own page only.
AS_ROOT = ("--no-sandbox",)
MOST_MESSAGE_BYTES = 1 << 28


def obstacle():
    """Why there can be no browser here, or None."""
    return None if shutil.which("chromium") else "there is no Chromium here: script/setup.sh browser"


class Page:
    def __init__(self, socket):
        self.socket = socket
        self.numbers = itertools.count(1)
        self.complaints = []

    async def order(self, method, **parameters):
        number = next(self.numbers)
        await self.socket.write_message(json.dumps({"id": number, "method": method, "params": parameters}))
        while True:
            message = json.loads(await asyncio.wait_for(self.socket.read_message(), SECONDS))
            if message.get("id") == number:
                if "error" in message:
                    raise RuntimeError(f"{method}: {message['error']['message']}")
                return message.get("result", {})
            self.hear(message)

    def hear(self, message):
        about = message.get("params", {})
        match message.get("method"):
            case "Runtime.exceptionThrown":
                self.complaints.append(about["exceptionDetails"].get("exception", {}).get("description", about["exceptionDetails"]["text"]))
            case "Runtime.consoleAPICalled" if about["type"] in ("error", "warning", "assert"):
                self.complaints.append(" ".join(str(argument.get("value", argument.get("description"))) for argument in about["args"]))
            case "Log.entryAdded" if about["entry"]["level"] in ("error", "warning"):
                self.complaints.append(f'{about["entry"]["text"]} {about["entry"].get("url", "")}')

    async def value(self, script):
        found = await self.order("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True, userGesture=True)
        if "exceptionDetails" in found:
            raise RuntimeError(found["exceptionDetails"].get("exception", {}).get("description", found["exceptionDetails"]["text"]))
        return found["result"].get("value")

    async def cost(self, script):
        """Milliseconds of processor time that the page takes until the script has given its value."""
        before = await self.busy()
        await self.value(script)
        return (await self.busy() - before) * 1000

    async def busy(self):
        """Seconds."""
        return next(metric["value"] for metric in (await self.order("Performance.getMetrics"))["metrics"] if metric["name"] == "TaskDuration")

    async def wait(self, script, seconds=SECONDS):
        """Runs the script until it gives something. Returns that, or None when nothing came of it."""
        deadline = time.monotonic() + seconds
        last = None
        while time.monotonic() < deadline:
            try:
                if found := await self.value(script):
                    return found
            except (RuntimeError, KeyError) as error:  # the page is not there yet
                last = error
            await asyncio.sleep(0.05)
        if last:
            self.complaints.append(str(last))
        return None

    async def key(self, key, code=0, text="", modifiers=0):
        for kind in ("keyDown", "keyUp"):
            await self.order("Input.dispatchKeyEvent", type=kind, key=key, code=key, windowsVirtualKeyCode=code, text=text if kind == "keyDown" else "", modifiers=modifiers)

    async def mouse(self, kind, x, y, buttons=0):
        await self.order("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left" if buttons or kind == "mouseReleased" else "none", buttons=buttons, clickCount=1)

    async def resize(self, width, height):
        await self.order("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    async def picture(self):
        """PNG."""
        return base64.b64decode((await self.order("Page.captureScreenshot", format="png", optimizeForSpeed=False))["data"])


async def connected(url):
    return Page(await websocket_connect(HTTPRequest(url, connect_timeout=SECONDS), max_message_size=MOST_MESSAGE_BYTES))


async def _open(port_file, url):
    deadline = time.monotonic() + SECONDS
    while not (port_file.exists() and port_file.read_text().count("\n")) and time.monotonic() < deadline:
        await asyncio.sleep(0.05)
    port, path = port_file.read_text().split("\n")
    browser = await connected(f"ws://127.0.0.1:{port}{path}")
    target = (await browser.order("Target.createTarget", url="about:blank"))["targetId"]
    page = await connected(f"ws://127.0.0.1:{port}/devtools/page/{target}")
    for area in ("Page", "Runtime", "Log"):
        await page.order(f"{area}.enable")
    await page.order("Performance.enable", timeDomain="threadTicks")
    await page.order("Emulation.setFocusEmulationEnabled", enabled=True)
    await page.order("Page.navigate", url=url)
    return page


@contextlib.asynccontextmanager
async def page(url, width=1200, height=1000):
    """A page that shows the URL, in a browser of its own that knows nothing of earlier ones."""
    folder = tempfile.mkdtemp(prefix="browser-")
    as_root = AS_ROOT if os.geteuid() == 0 else ()
    process = subprocess.Popen(
        [shutil.which("chromium"), "--headless=new", "--remote-debugging-port=0", f"--user-data-dir={folder}", f"--window-size={width},{height}",
         *QUIET, *as_root, "about:blank"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
    )  # fmt: skip
    try:
        shown = await _open(pathlib.Path(folder, "DevToolsActivePort"), url)
        await shown.resize(width, height)
        yield shown
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        shutil.rmtree(folder, ignore_errors=True)
