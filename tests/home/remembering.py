# SPDX-License-Identifier: MIT
"""A home's state is saved and taken over: what comes afterwards is what would have come."""

import contextlib
import copy
import io
import json
import pathlib
import tempfile
import time

import sources
from obedience import House, with_house

LIMIT = pathlib.Path(__file__).resolve().parents[2] / "virtual_router/homes/limit.json"


def future(house, steps):
    """What the router finds of a home after each of some steps."""
    found = []
    player = house.engine
    with contextlib.redirect_stdout(io.StringIO()):
        for _ in range(steps):
            player.step()
            player.let_pass(player.home.about["pace"])
            player.home.renew_leases(player.around)
            found.append(sources.files(player.home, player.around, player.broken))
    return found


def live(house):
    """Has much happen, so that there is much to save."""
    future(house, 30)
    for words in (
        ("add", "visitor", "wlan1", "signal=33", "down=70"), ("roam", "tablet", "away"), ("remove", "rover"), ("join", "guest", "Elsewhere", "key"),
        ("break", "arp", "half"), ("wan", "down"), ("internet", "down"), ("move",),
    ):  # fmt: skip
        house.order(*words)
    house.start_wlan(WLAN1_WPA_PSK="other other")  # who is on 2.4 GHz is kept out now
    house.start_wlan(WLAN1_WPA_PSK="two two two")  # and on the way back
    house.pass_seconds(1)


@with_house
def saved(check, house):
    live(house)
    status, text = house.order("save-state")
    check("a state is saved", status, 0)
    tree = json.loads(text)
    check("some device is on its way into the Wi-Fi", any(device["waits"] for device in tree["devices"]), True)
    come = future(house, 40)
    shown = house.order("show", "--json")
    for name, other in (("in its own home", {}), ("in another home", {"devices": [], "seed": 9, "agents": []})):
        with tempfile.TemporaryDirectory() as folder:
            second = house if not other else House(pathlib.Path(folder), **other)
            second.engine.root.write("var/run/wlan", house.content("var/run/wlan"))
            second.look()
            check(f"it is taken over {name}", second.order("restore-state", text), (0, "restored"))
            second.home = second.engine.home
            check(f"and says what was saved {name}", json.loads(second.order("save-state")[1]) == tree, True)
            check(f"what comes then is what would have come, {name}", future(second, 40) == come, True)
            check(f"to the last word {name}", json.loads(second.order("show", "--json")[1])["devices"], json.loads(shown[1])["devices"])


@with_house
def refused(check, house):
    tree = json.loads(house.order("save-state")[1])
    before = house.order("show", "--json")

    def changed(change):
        other = copy.deepcopy(tree)
        change(other)
        return json.dumps(other)

    for name, text in (
        ("nothing", ""), ("no object", "[]"), ("no JSON", "{"), ("an empty object", "{}"),
        ("another form", changed(lambda state: state.update(form=2))),
        ("a spot that is none", changed(lambda state: state["devices"][1].update(spot="moon"))),
        ("a station of no table", changed(lambda state: state["tables"]["wlan0"].__setitem__(slice(None), [None] * 64))),
        ("a longer table", changed(lambda state: state["tables"]["wlan0"].append(None))),
        ("chances that are none", changed(lambda state: state["devices"][1]["chances"].update(chance="AAAA"))),
        ("another attribute as a chance", changed(lambda state: state["devices"][1]["chances"].update(spot="AAAA"))),
        ("a home file that is none", changed(lambda state: state["about"].update(pace="often"))),
        ("a lease of nobody", changed(lambda state: state["leases"].append(["x", "y", "z", 1]))),
        ("no phone", changed(lambda state: state["devices"].pop(0))),
    ):  # fmt: skip
        check(f"{name} is no state", house.order("restore-state", text)[0], 1)
    check("and the home is as it was", house.order("show", "--json"), before)
    check("words are wrong", house.order("restore-state")[0], 1)


def large(check):
    """The largest home: how long it takes, and how long its text is."""
    with tempfile.TemporaryDirectory() as folder:
        about = json.loads(LIMIT.read_text())
        house = House(pathlib.Path(folder), **about)
        future(house, 3)
        begin = time.perf_counter()
        text = house.order("save-state")[1]
        saved = time.perf_counter()
        status, _ = house.order("restore-state", text)
        took = [round(1000 * seconds) for seconds in (saved - begin, time.perf_counter() - saved)]
        check("the largest home fits an order", (status, len(text) < 4 << 20), (0, True))
        print(f"the state of {len(house.engine.home.devices)} devices: {len(text)} bytes, saved in {took[0]} ms, taken over in {took[1]} ms")


CHAPTERS = (saved, refused, large)
