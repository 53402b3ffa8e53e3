# SPDX-License-Identifier: MIT
"""The network around a router: its phones, its mesh agents, the hosts of its home, and the provider. It follows the router's LAN.

KernelNetwork makes it of the kernel's; FileNetwork writes what a stand-in for the kernel reads.
"""

import re
from typing import NamedTuple

import premises

HOSTS_FILE = "outside/hosts"
MOST_HOSTS_BYTES = 256 << 10
MOST_NEIGHBOURS = 2048
HOST_LINE = re.compile(r"((?:[0-9]{1,3}\.){3}[0-9]{1,3}) ((?:[0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}) (wired|air)")

ROUTER, PROVIDER = "router", "isp"


def mac_after(mac, number):
    """The MAC address that comes so many after another."""
    value = int(mac.replace(":", ""), 16) + number
    return ":".join(f"{value >> shift & 255:02x}" for shift in range(40, -8, -8))


class Phone(NamedTuple):
    number: int
    mac: str
    place: int

    @property
    def network(self):
        return "phone" if self.number == 1 else f"phone{self.number}"

    @property
    def link(self):
        return f"lan{self.number}"


class Agent(NamedTuple):
    number: int
    mac: str
    place: int

    @property
    def network(self):
        return f"agent{self.number}"

    @property
    def link(self):
        return self.network


def lan_host(lan, place):
    """The address of host `place` of a LAN, counted from 1; a negative number counts from the last, which is -1. None where the LAN
    has no such host or the router is that host."""
    size = lan.network.num_addresses
    place = size - 1 + place if place < 0 else place
    if not 1 <= place < size - 1:
        return None
    address = lan.network.network_address + place
    return address if address != lan.ip else None


class Network:
    """Who is where. `order` gives the premises an order."""

    def __init__(self, order, facts, phones, agents, say):
        self.order = order
        self.facts = facts
        first = int(facts["PHONE_PLACE"])
        self.phones = [Phone(n + 1, mac_after(facts["PHONE_MAC"], n), first + n) for n in range(phones)]
        first = int(facts["FIRST_AGENT_PLACE"])
        self.agents = [Agent(n, f"{facts['AGENT_MAC_PREFIX']}{n}", first + n - 1) for n in range(1, agents + 1)]
        self.say = say
        self.lan = None
        self.addresses = {}  # phone or agent -> its address
        self.neighbours = {}  # address -> MAC address: what the router's ARP table must hold
        self.wired = {}  # MAC address -> addresses, of the home's hosts with a cable that are hosts of their own
        self.lines = None  # of the file of hosts, that these were made of

    def phone_name(self, phone):
        return "the phone" if len(self.phones) == 1 else f"phone {phone.number}"

    async def follow_lan(self, lan, moved):
        """Gives phones and agents their addresses in the LAN, an IPv4Interface of the router, or None. Calls moved() when they have
        them, before anybody is told so."""
        self.lan = lan
        self.addresses = {}
        told = f"{lan.ip}, mask {lan.netmask}" if lan else "none, mask none"
        for phone in self.phones:
            places = (phone.place, -phone.number, -phone.number - 1)
            found = [address for place in places if lan and (address := lan_host(lan, place)) and address not in self.addresses.values()]
            if found:
                self.addresses[phone] = found[0]
        for agent in self.agents:
            address = lan and lan_host(lan, agent.place)
            if address and address not in self.addresses.values():
                self.addresses[agent] = address
        self.addresses = await self.move(self.addresses)
        moved()
        for phone in self.phones:
            if phone in self.addresses:
                self.say(f"home: {self.phone_name(phone)} has the address {self.addresses[phone]}")
            else:
                self.say(f"home: {self.phone_name(phone)} finds no place in the LAN of {told}")
        for agent in self.agents:
            if agent not in self.addresses:
                self.say(f"home: agent {agent.number} finds no place in the LAN of {told}")
        self.lines = None
        await self.follow_hosts()

    async def follow_hosts(self):
        """Makes the hosts of the LAN those in the home's file. A line is an address, a MAC address, and "wired" or "air". Other lines
        say nothing, and nobody gets an address or a MAC address of the router, a phone or an agent."""
        text = await premises.read(self.order, f"root/{HOSTS_FILE}", MOST_HOSTS_BYTES)
        lines = text.splitlines()[:MOST_NEIGHBOURS]
        if lines == self.lines:
            return
        self.lines = lines
        fixed = {str(address): who.mac for who, address in self.addresses.items()}
        taken = {*fixed.values(), self.facts["ROUTER_LAN_MAC"]}
        self.neighbours, self.wired = dict(fixed), {}
        for line in lines:
            match = HOST_LINE.fullmatch(line)
            if not match:
                continue
            address, mac, kind = match[1], match[2].lower(), match[3]
            if address in fixed or mac in taken or (self.lan and address == str(self.lan.ip)):
                continue
            self.neighbours[address] = mac
            # Hosts of their own take the machine some time, so there are not many.
            if kind == "wired" and (mac in self.wired or len(self.wired) < int(self.facts["REAL_HOSTS"])):
                self.wired.setdefault(mac, []).append(address)
        await self.show()


class KernelNetwork(Network):
    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.entries = {}  # address -> MAC address, of what was put into the router's ARP table
        self.plugged = {}  # MAC address -> what the host was made with
        self.links = []  # of the router's end

    async def ip(self, network, lines, force=False):
        """Returns what ip complains of."""
        return await self.order("ip", network=network, lines="\n".join(lines) + "\n", force=force)

    async def make(self):
        for name in (PROVIDER, *(phone.network for phone in self.phones), *(agent.network for agent in self.agents)):
            await self.order("network", name=name)
            await self.ip(name, ["link set lo up"])
        # The provider answers for its own hosts; a home may have it answer for more of the Internet.
        await self.ip(PROVIDER, [f"address add {server}/32 dev lo" for server in self.facts["PROVIDER_SERVERS"].split()], force=True)

    async def plug_in(self):
        """Attaches a router that has just been switched on."""
        facts = self.facts
        await self.order("network", name=ROUTER)
        lines = ["link set lo up", f"link add br0 address {facts['ROUTER_LAN_MAC']} type bridge"]
        for who in (*self.phones, *self.agents):
            lines += [f"link add {who.link} type veth peer name eth0 address {who.mac} netns @{who.network}", f"link set {who.link} master br0 up"]
        lines += [
            f"link add eth1 address {facts['ROUTER_WAN_MAC']} type veth peer name eth0 address {facts['ISP_MAC']} netns @{PROVIDER}",
            f"link add ppp0 type veth peer name ppp0 netns @{PROVIDER}",
        ]
        await self.must(ROUTER, lines)
        self.links = ["eth1", "ppp0", *(who.link for who in (*self.phones, *self.agents))]
        for phone in self.phones:
            await self.must(phone.network, ["link set eth0 up"])
        await self.must(
            PROVIDER,
            [
                f"address add {facts['ISP_ADDRESS']}/{facts['WAN_MASK']} broadcast + dev eth0",
                "link set eth0 up",
                f"address add {facts['PPP_PEER']} peer {facts['PPP_ADDRESS']} dev ppp0",
                "link set ppp0 up",
            ],
        )
        await self.order("forward_packets", network=ROUTER)

    async def must(self, network, lines):
        refusal = await self.ip(network, lines)
        if refusal:
            raise OSError(f"the network cannot be made: {refusal}")

    async def unplug(self):
        """Takes the network away from a router that is switched off."""
        names = [*self.links, *(host_link(mac) for mac in self.plugged)]
        await self.ip(ROUTER, [f"link delete {name}" for name in names], force=True)
        for mac in self.plugged:
            await self.order("drop_network", name=host_link(mac))
        await self.order("drop_network", name=ROUTER)
        self.links, self.plugged, self.entries, self.lan, self.addresses, self.lines = [], {}, {}, None, {}, None

    async def move(self, addresses):
        # With its address br0 has lost its part of the ARP table, but for what was put there since then.
        await self.ip(ROUTER, ["neigh flush dev br0 nud all"])
        self.entries = {}
        moved = {}
        for who, address in addresses.items():
            if isinstance(who, Phone):
                lines = ["address flush dev eth0", f"address add {address}/{self.lan.network.prefixlen} broadcast + dev eth0", f"route replace default via {self.lan.ip}"]
                if await self.ip(who.network, lines):
                    continue
            moved[who] = address
        return moved

    async def show(self):
        await self.unplug_hosts()
        await self.plug_hosts()
        # An entry is missing where br0 was down for a while: all are put there anew.
        if await self.change_entries():
            await self.ip(ROUTER, ["neigh flush dev br0 nud all"])
            self.entries = {}
            await self.change_entries()

    async def change_entries(self):
        """Makes the neighbours the entries of the router's ARP table. They are permanent: most of these hosts cannot answer the kernel's
        questions, and the others are to be known before they send anything. Returns what ip complains of."""
        lines = [f"neigh del {address} dev br0" for address, mac in self.entries.items() if self.neighbours.get(address) != mac]
        kept = {address: mac for address, mac in self.entries.items() if self.neighbours.get(address) == mac}
        lines += [f"neigh replace {address} lladdr {mac} dev br0 nud permanent" for address, mac in self.neighbours.items() if address not in kept]
        self.entries = dict(self.neighbours)
        return await self.ip(ROUTER, lines) if lines else ""

    async def unplug_hosts(self):
        """Removes the hosts that have no cable any more, all at once: one by one takes the kernel much longer."""
        gone = [mac for mac in self.plugged if mac not in self.wired]
        if not gone:
            return
        lines = [f"link set dev {host_link(mac)} group 1" for mac in gone]
        await self.ip(ROUTER, [*lines, "link delete group 1"], force=True)
        for mac in gone:
            del self.plugged[mac]
            await self.order("drop_network", name=host_link(mac))

    async def plug_hosts(self):
        """Makes the hosts that have got a cable, each with a network of its own, and gives all the addresses that they have now. Those
        that are not in the router's LAN have no way to it, as while the home has not yet followed the LAN."""
        for mac, addresses in self.wired.items():
            wanted = (addresses, self.lan)
            if self.plugged.get(mac) == wanted:
                continue
            name = host_link(mac)  # of the network, and of the link to it
            if mac not in self.plugged:
                await self.order("network", name=name)
                link = [f"link add {name} type veth peer name eth0 address {mac} netns @{name}", f"link set {name} master br0 up"]
                if await self.ip(ROUTER, link):
                    self.say(f"home: {mac} cannot be pinged: this machine gives it no network")
            lines = ["link set lo up", "link set eth0 up", "address flush dev eth0 scope global"]
            if self.lan:
                lines += [f"address add {address}/{self.lan.network.prefixlen} broadcast + dev eth0" for address in addresses]
                lines += [f"route replace default via {self.lan.ip}"]
            await self.ip(name, lines, force=True)
            self.plugged[mac] = wanted


def host_link(mac):
    return "h" + mac.replace(":", "")


class FileNetwork(Network):
    INTERFACES = ("lo", "br0", "eth1", "ppp0")

    async def make(self):
        pass

    def texts(self):
        """The files of the root that are there from the beginning."""
        header = (
            "Inter-|   Receive                                                |  Transmit\n"
            " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed\n"
        )
        return {"proc/net/dev": header + "".join(f"{name:>6}:" + " 0" * 16 + "\n" for name in self.INTERFACES)}

    def interfaces(self):
        facts = self.facts
        return (
            "interface lo 127.0.0.1 255.0.0.0 00:00:00:00:00:00 65536 up\n"
            f"interface br0 0.0.0.0 0.0.0.0 {facts['ROUTER_LAN_MAC']} 1500 down\n"
            f"interface eth1 0.0.0.0 0.0.0.0 {facts['ROUTER_WAN_MAC']} 1500 down\n"
            "interface ppp0 0.0.0.0 0.0.0.0 00:00:00:00:00:00 1500 down\n"
        )

    async def plug_in(self):
        pass

    async def unplug(self):
        self.lan, self.addresses, self.lines = None, {}, None

    async def move(self, addresses):
        return addresses

    async def show(self):
        arp = ["IP address       HW type     Flags       HW address            Mask     Device"]
        arp += [f"{address:16} 0x1         0x6         {mac}     *        br0" for address, mac in self.neighbours.items()]
        facts = self.facts
        answering = [facts["ISP_ADDRESS"], facts["PPP_PEER"], *facts["PROVIDER_SERVERS"].split(), *map(str, self.addresses.values()), *(one for many in self.wired.values() for one in many)]
        await self.order("write", path="root/etc/answering-hosts", content="".join(f"answers {address}\n" for address in answering))
        # Whoever is in the ARP table answers already, as where the network is the kernel's.
        await self.order("write", path="root/proc/net/arp", content="".join(f"{line}\n" for line in arp))
