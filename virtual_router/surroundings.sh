# SPDX-License-Identifier: MIT
# shellcheck shell=sh disable=SC2034  # read by script/server, the keeper and, as /etc/surroundings.conf, the router's commands
# What the virtual router stands in: its addresses and those around it. Its own LAN address comes from its store.
# Addresses outside are of ranges for documentation, MAC addresses are locally administered.
ROUTER_LAN_MAC=02:4b:54:70:94:01
ROUTER_WAN_MAC=02:4b:54:70:94:02
FIRMWARE_DATE=2026-11-20

# What the provider gives to a DHCP client, and to a PPPoE client.
WAN_ADDRESS=203.0.113.2
WAN_MASK=255.255.255.0
ISP_ADDRESS=203.0.113.1
ISP_MAC=02:4b:54:00:00:01
PPP_ADDRESS=198.51.100.2
PPP_PEER=198.51.100.1
PROVIDER_SERVERS='203.0.113.1 203.0.113.53'

# The place of a device is its number among the hosts of the LAN: 192.168.1.100 is place 100 of 192.168.1.0/24.
PHONE_MAC=02:4b:54:00:00:64
PHONE_PLACE=100
AGENT_MAC_PREFIX=02:4b:54:70:95:0  # and the number of the agent
FIRST_AGENT_PLACE=10               # agent 1; the others follow
REAL_HOSTS=32                      # so many hosts with a cable can be pinged; the others are only known of
