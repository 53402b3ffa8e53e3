# SPDX-License-Identifier: MIT
"""The lists that a router's replies tell, as the tables of the store hold them; and how a station must speak with the router for the
rates that were told. Pure."""

import ipaddress
import itertools
import pathlib
import sys
import types

import speech

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "home"))

import model  # noqa: E402

MOST_OFF = 1  # Mb/s, by which a rate that is told may miss the one that is meant: replies round down


def mac_of(text):
    return bytes.fromhex(text.replace(":", ""))


def week_of(text):
    return int(text, 2)


def span_of(device):
    return ",".join(device[key].replace(":", "") for key in ("sTime", "eTime")).encode()


def mac_filter(device):
    mac, comment, time, week = device
    return {"mac": mac_of(mac), "comment": comment.encode(), "time": time.encode(), "week": week_of(week)}


def access(device):
    mac, comment = device
    return {"mac": mac_of(mac), "comment": comment.encode()}


def hours(device):
    return {
        "time_control": device["TimeControl"], "time_span": span_of(device), "week": week_of(device["week"]), "name": device["name"].encode(),
        "SchNetAccMac": device["mac"].encode(),
    }  # fmt: skip


def bandwidth(rule):
    """As a set makes a rule; what else another program has put into it, replies do not tell."""
    start, end = (ipaddress.IPv4Address(text).packed for text in rule["ip"].split("-"))
    unset = dict.fromkeys(("vlan_171", "vlan_172", "priority", "vlan_180", "vlan_181"), 255)
    return {"enabled": 1, "flags": 6, "start": start, "end": end, "upload_limit": rule["ulimit"], "download_limit": rule["dlimit"], **unset}


def words(lists):
    """Both lists of words, one after the other: how they were mixed, replies do not tell."""
    return [{"keyword": word.encode(), "list": number} for number, name in enumerate(("black", "white")) for word in lists[name].values()]


def scheduled(told):
    """The items of the scheduled reboot."""
    return {"MIB_SCHREBOOT_ENABLED": int(told["enable"]), "MIB_SCHREBOOT_TIME": told["time"].replace(":", ""), "MIB_SCHREBOOT_WEEK": week_of(told["week"])}


# (object, key): the items of the store, the record, and the fields of each entry, or of all
LISTS = {
    ("Sec", "maclist"): (["MIB_MACFILTER_TBL_NUM"], "MacFilterEntry", lambda found: [*map(mac_filter, found)]),
    ("wifiAcc", "maclist"): (["MIB_WLAN_ACL_NUM@wlan0", "MIB_WLAN_ACL_NUM@wlan1"], "AclEntry", lambda found: [*map(access, found)]),
    ("netAcc", "list"): (["MIB_SCHNETACC_TBL_NUM"], "SchNetAccEntry", lambda found: [*map(hours, found)]),
    ("urlfilter", "urllist"): (["MIB_URLFILTER_TBL_NUM"], "UrlFilterEntry", words),
    ("qos", "ipRuleList"): (["MIB_QOS_RULE_TBL_NUM"], "QosRuleEntry", lambda found: [*map(bandwidth, found)]),
}  # fmt: skip

SCHEDULE = "sys", "schReboot"


def stored(name, key, value):
    """{item: text of the table} of a list, or {item: value} of the scheduled reboot; None: it is none of these, or not as the router
    tells it."""
    if (name, key) not in (*LISTS, SCHEDULE):
        return None
    try:
        if (name, key) == SCHEDULE:
            return scheduled(value)
        items, record, entries = LISTS[name, key]
        text = ",".join(speech.RECORDS[record].pack(entry).hex() for entry in entries(value))
    except (KeyError, TypeError, ValueError, AttributeError, OverflowError):
        return None
    return dict.fromkeys(items, text) if text else {}  # without entries it is as it was made


def rate(text):
    return float(text) if text else 0.0


def link(device, band):
    """The keys of a home's device that has these rates, as far as they are not the usual ones, and whether it has them."""
    down, up = rate(device["dlink"]), rate(device["ulink"])
    best = None
    for wifi, width, streams, guard in itertools.product(("ac", "n", *("a" if band == "5g" else "gb")), (80, 40, 20), (2, 1, 3), ("short", "long")):
        made = types.SimpleNamespace(wifi=wifi, width=width, streams=streams, guard=guard, signal=int(device["rssi"]))
        found = model.Link(made, band)
        off = abs(found.megabits(found.down) - down) + abs(found.megabits(found.up) - up)
        if best is None or off < best[0]:
            best = off, {"wifi": wifi, "width": width, "streams": streams, "guard": guard}
    usual = {"wifi": "ac", "width": 80, "streams": 2, "guard": "short"}
    return {key: value for key, value in best[1].items() if value != usual[key]}, best[0] < 2 * MOST_OFF
