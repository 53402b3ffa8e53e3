# SPDX-License-Identifier: MIT
"""What passes between the home and the Internet at a moment: what the devices would send and get, and what the router's rules
leave of it. Reckoned, because the devices of a home send no packets."""

WAYS = ("down", "up")


def limit_of(address, around):
    """The bandwidth rule for an address, or None."""
    found = None
    for limit in around.limits:
        if limit.first <= address <= limit.last:
            found = limit
    return found


def rates(home, around):
    """The traffic of each device in bytes/s: device -> {"down": ..., "up": ...}."""
    passes = home.online(around)
    found = {device: {way: device.rate(way) if passes and device.mac not in around.denied else 0 for way in WAYS} for device in home.devices}
    limited = {}
    for address, device in home.hosts(around):
        limit = None if isinstance(device, dict) else limit_of(address, around)
        if limit:
            limited.setdefault(limit, []).append(device)
    for limit, devices in limited.items():
        for way in WAYS:
            together = sum(found[device][way] for device in devices)
            if limit.most[way] is not None and together > limit.most[way]:
                for device in devices:
                    found[device][way] = found[device][way] * limit.most[way] // together
    return found


def ask(home, around, device, url):
    """What becomes of a device's request for a page, a text; and whether it was answered."""
    scheme, separator, rest = url.partition("://")
    if not separator:
        scheme, rest = "http", url
    host, _, path = rest.partition("/")
    if not device.here():
        return "it is not connected", False
    if device.mac in around.denied:
        return "the router lets it send nothing at this time", False
    if not home.online(around):
        return "there is no Internet", False
    # What is encrypted the router cannot read.
    refused = around.refused_word(f"GET /{path} HTTP/1.1\r\nHost: {host}\r\n".encode()) if scheme == "http" else None
    if refused:
        return f"the URL filter refuses it {refused}", False
    return "it is answered", True
