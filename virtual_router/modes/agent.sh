# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # variables of router.sh and home.sh
# A mesh agent of the home: a router like the main one, in namespaces that the main one's script has made, whose network
# has one link, eth0, to the main router's LAN. It has no WAN; its address and its default route are what the main router
# gives, over the pipe $state/leases.
# shellcheck source=virtual_router/modes/namespaces.sh
. "$here/modes/namespaces.sh"

mode_network() {
    # It leaves the factory as an agent, and with a name and a number of its own.
    sed -E -i -e '/^(186|2389) /s/"[^"]*"/"Agent '"$agents"'"/' -e "/^4200 /s/.\" /$agents\" /" \
        -e '/^2386 /s/(global +)0/\12/' -e '/^192 /s/(global +)0/\11/' -e '/^173 /s/(global +)2/\11/' "$root/etc/items.conf"
    ip -batch - <<END
link set lo up
link add br0 address $AGENT_MAC_PREFIX$agents type bridge
link set eth0 master br0 up
END
    local lease
    read -r lease <"$state/leases"
    echo "$lease" >"$root/var/run/lan-lease"
    echo 'server.bind = "0.0.0.0"' >"$root/etc/lighttpd-listen.conf"
}

# Nothing follows an agent.
mode_follow_lan() { :; }

# Takes the addresses that the main router gives, for ever.
take_leases() {
    local lease
    while read -r lease; do
        echo "$lease" >"$root/var/run/lan-lease"
        (enter initlan)
    done
}

mode_parts() {
    start_part "uplink" take_leases <>"$state/leases" 9<&-
}

mode_up() {
    until (: </dev/tcp/127.0.0.1/80) 2>/dev/null; do
        sleep 0.1
    done
    mv "$state/ready.new" "$state/ready"
}
