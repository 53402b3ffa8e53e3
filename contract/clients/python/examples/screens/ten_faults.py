# SPDX-License-Identifier: MIT
"""Holds the screens of app.py against ten faults of a virtual router that has a home: ten_faults.py URL STATE-FOLDER"""

import json
import os
import sys
import time
import urllib.request
from pathlib import Path

from app import App

URL, CONTROL = sys.argv[1], json.loads(Path(sys.argv[2], "control.json").read_text())
HEALTHY = f"/api/snapshots/healthy-{os.getpid()}"
LATE, BROKEN, AWAY = "The router takes long. Try again?", "The router's answer makes no sense. Try again?", "Is the router on, and are you at home?"
TAKEN, LOST = "Somebody else has signed in. Sign in again?", "Name: Family. The router has not kept Attic"
TEN = (
    ("failed=none reply", App.login, LATE),
    ("action=get delay=60000000 reply", App.devices, LATE),
    ("failed=cut:100 reply", App.devices, BROKEN),
    ("failed=garbage reply", App.settings, BROKEN),
    ("failed=503 reply", App.devices, BROKEN),
    ("connect", App.login, AWAY),
    ("failed=booting:5 router", App.settings, AWAY),
    ("failed=taken session", App.devices, TAKEN),
    ("set", lambda app: app.rename("Attic"), LOST),  # a full store
    ("commit", lambda app: [app.rename("Attic"), ask("POST", "/api/reboot", {"wait": True}), app.login(), app.settings()][-1], LOST),
)


def ask(method, path, body=None):
    headers = {"Authorization": f"Bearer {CONTROL['token']}", "Content-Type": "application/json"}
    request = urllib.request.Request(CONTROL["url"] + path, body if body is None else json.dumps(body).encode(), headers, method=method)
    with urllib.request.urlopen(request) as reply:
        return json.load(reply)


ask("POST", HEALTHY, {})
failed = 0
for fault, screen, wanted in TEN:
    app = App(URL)
    well = (app.login(), app.settings(), "devices" in app.devices()) == ("Signed in to Family", "Name: Family", True)
    ask("POST", "/api/faults", {"faults": [fault]})
    shown = screen(app)
    ask("DELETE", "/api/faults")
    while ask("GET", "/api/status")["router"] != "up":
        time.sleep(0.1)
    ask("POST", f"{HEALTHY}/restore", {})
    failed += not well or shown != wanted
    print(f"{'ok    ' if well and shown == wanted else 'FAILED'}  {fault}: {shown}")
ask("DELETE", HEALTHY)
print(f"{len(TEN) - failed} passed, {failed} failed")
sys.exit(failed > 0)
