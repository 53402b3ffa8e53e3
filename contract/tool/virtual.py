# SPDX-License-Identifier: MIT
"""A virtual router for as long as a block runs, by way of script/server as anybody would start it."""

import contextlib
import os
import pathlib
import random
import shutil
import signal
import socket
import subprocess
import tempfile
import time

from contract import PROJECT

READY = "Ctrl-C stops the router"
START_SECONDS = 240  # of a busy machine
END_SECONDS = 60
CANNOT_RUN_HERE = 77


class NoRouter(Exception):
    """The router did not start; the text is what it said."""


given = set()


def free_port():
    while True:
        port = random.randrange(12000, 20000)
        with socket.socket() as probe:
            if port not in given and probe.connect_ex(("127.0.0.1", port)) != 0:
                given.add(port)  # the router that will have it may be long in starting
                return port


@contextlib.contextmanager
def router(build, *options):
    """Starts a factory-fresh router and gives the URL of its endpoint and its state folder; ends it behind the block."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="contract-router-"))
    port = free_port()
    with open(folder / "log", "w+b") as log:
        process = subprocess.Popen(
            [PROJECT / "script/server", "--build", build, "--port", str(port), "--state", folder / "state", *options],
            stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT, env={**os.environ, "TMPDIR": str(folder)},
            start_new_session=True,
        )
        try:
            deadline = time.monotonic() + START_SECONDS
            while READY not in (folder / "log").read_text(errors="replace"):
                if process.poll() is not None or time.monotonic() > deadline:
                    raise NoRouter((folder / "log").read_text(errors="replace"))
                time.sleep(0.05)
            yield f"http://127.0.0.1:{port}/app/app.cgi", folder / "state"
        finally:
            if process.poll() is None:
                process.send_signal(signal.SIGINT)
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(END_SECONDS)
            shutil.rmtree(folder, ignore_errors=True)
