# SPDX-License-Identifier: MIT
"""What a home must know of the router: the settings in force, as the router's commands leave them in its /var/run. Each file is
described in the command that writes it (virtual_router/system/bin). Pure: from the files' texts."""

import ipaddress
import re

import homefile

# The files, by the command that writes each.
FILES = {
    "lan": "initlan",
    "dhcp": "initlan",
    "wlan": "initwlan",
    "wan": "initwan",
    "mesh": "initmesh",
    "firewall": "firewall",
    "shaping": "shaping",
}
DHCP_WAN = "1"
PPP_WANS = ("3", "4", "6", "16")
CONTROLLER = "1"
OPEN = "0"  # the security mode without a key
BLACK, WHITE = "black", "white"
# The two modes of a radio's access list; any other lets everybody in.
ACCESS_LISTS = {"1": WHITE, "2": BLACK}
ENTRY_DIGITS = 2 * homefile.RECORDS["AclEntry"].size  # of an entry of the access list, the first 12 of which are the MAC address
DEFAULT_LEASE_MINUTES = 1440


class Network:
    """What a wireless interface offers at a moment."""

    def __init__(self, settings, radio_on):
        self.on = radio_on and settings.get("DISABLED", "0") == "0"
        self.ssid = settings.get("SSID", "")
        self.key = "" if settings.get("SECURITY_MODE") == OPEN else settings.get("WPA_PSK", "")
        self.channel = settings.get("CHANNEL", "0")
        self.list = ACCESS_LISTS.get(settings.get("ACL_MODE"))
        self.listed = {colons(entry[:12]) for entry in settings.get("ACL_NUM", "").split(",") if len(entry) == ENTRY_DIGITS}

    def admits(self, mac):
        """Whether the access list lets a station in."""
        return self.list is None or (mac in self.listed) == (self.list == WHITE)


class Limit:
    """A bandwidth rule: what its devices have together at most, in bytes/s by direction; None is no limit."""

    def __init__(self, first, last, up, down):
        self.first, self.last = ipaddress.IPv4Address(first), ipaddress.IPv4Address(last)
        # The rule counts in kbit/s.
        self.most = {way: int(kilobits) * 1000 // 8 or None for way, kilobits in (("up", up), ("down", down))}


class Around:
    """The router at a moment. Until a file is there, what it would tell limits nobody."""

    def __init__(self):
        self.mac = ""  # of the LAN
        self.phone = ""  # the phone's address, or empty
        self.now = 0  # seconds since the epoch, by the router's clock
        self.lan = None  # ipaddress.IPv4Interface, or None without an address
        self.gives_leases, self.lease_seconds = True, DEFAULT_LEASE_MINUTES * 60
        self.pool = None  # first and last address that the DHCP server gives out
        self.wlan_starts, self.networks = 0, {}
        self.wan_type, self.wan_up, self.wan_since = None, True, "0"
        self.mesh_role = None
        self.denied = set()  # MAC addresses that may send nothing to the Internet
        self.words_list, self.words = None, []
        self.limits = []

    def take(self, name, text):
        """Takes over a file's text. What makes no sense there says nothing."""
        getattr(self, f"take_{name}")(text)

    def take_lan(self, text):
        try:
            self.lan = ipaddress.IPv4Interface("/".join(text.split()))
        except ValueError:  # twice "none", where there is no address
            self.lan = None

    def take_dhcp(self, text):
        found = re.fullmatch(r"(on|off) (\d{1,9})(?: ([\d.]{7,15}) ([\d.]{7,15}))?", text.strip())
        if found:
            self.gives_leases, self.lease_seconds = found[1] == "on", int(found[2]) * 60
            try:
                self.pool = tuple(map(ipaddress.IPv4Address, found.groups()[2:])) if found[3] else None
            except ValueError:
                self.pool = None

    def take_wlan(self, text):
        settings = {interface: {} for interface in homefile.INTERFACES}
        for line in text.split("\n"):
            found = re.fullmatch(r"(WLAN[01](?:_VA[0-3])?)_([A-Z_]+)=(.*)", line)
            if found:
                settings[found[1].lower().replace("_", "-")][found[2]] = plain(found[3])
        starts = re.match(r"starts (\d{1,9})\n", text)
        self.wlan_starts = int(starts[1]) if starts else 0
        self.networks = {
            interface: Network(own, settings[interface.partition("-")[0]].get("DISABLED", "0") == "0") for interface, own in settings.items()
        }

    def take_wan(self, text):
        found = re.fullmatch(r"(-?\d{1,4}) (up|down) (\d{1,19})", text.strip())
        if found:
            self.wan_type, self.wan_up, self.wan_since = found[1], found[2] == "up", found[3]

    def take_mesh(self, text):
        self.mesh_role = text.strip() or None

    def take_firewall(self, text):
        words = [line.split() for line in text.split("\n")]
        self.denied = {rest[0].lower() for what, *rest in filter(None, words) if what == "denied" and len(rest) == 1}
        self.words_list = next((rest[0] for what, *rest in filter(None, words) if what == "words" and rest in ([BLACK], [WHITE])), None)
        self.words = [
            bytes.fromhex(rest[0]) for what, *rest in filter(None, words) if what == "word" and rest and re.fullmatch("([0-9a-f]{2})+", rest[0])
        ]

    def take_shaping(self, text):
        self.limits = []
        for line in text.split("\n"):
            found = re.fullmatch(r"limit ([\d.]{7,15}) ([\d.]{7,15}) (\d{1,10}) (\d{1,10})", line)
            try:
                self.limits += [Limit(*found.groups())] if found else []
            except ValueError:
                continue

    def address(self, place):
        """The address of a place in the LAN, or None where the LAN has none for it."""
        if self.lan is None:
            return None
        network = self.lan.network
        if not 0 < place < network.num_addresses - 1:
            return None
        address = network.network_address + place
        return address if address != self.lan.ip else None

    def pool_addresses(self):
        """Yields what the DHCP server can give out, from the first on."""
        if self.pool is None or self.lan is None:
            return
        network = self.lan.network
        first, last = (int(address) for address in self.pool)
        lowest, highest = int(network.network_address) + 1, int(network.broadcast_address) - 1
        for number in range(max(first, lowest), min(last, highest) + 1):
            if number != int(self.lan.ip):
                yield ipaddress.IPv4Address(number)

    def is_in_pool(self, address):
        return self.pool is not None and self.lan is not None and self.pool[0] <= address <= self.pool[1] and address in self.lan.network

    def refused_word(self, request):
        """Why the URL filter refuses a request of these bytes: a text; None where it does not."""
        words = [word for word in self.words if word in request]
        if self.words_list == BLACK and words:
            return f'by the word "{words[0].decode(errors="replace")}"'
        if self.words_list == WHITE and not words:
            return "for it has none of the words"
        return None


def colons(digits):
    return ":".join(digits[at : at + 2] for at in range(0, 12, 2)).lower()


def plain(value):
    r"""A text as it is stored, from how `flash` prints it: with \\ for a backslash and \x0a for a control character."""
    return re.sub(r"\\(?:x([0-9a-f]{2})|\\)", lambda found: chr(int(found[1], 16)) if found[1] else "\\", value)
