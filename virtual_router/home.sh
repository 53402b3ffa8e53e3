# shellcheck shell=bash disable=SC2034  # read by router.sh and the modes
# The home that the virtual router stands in. The router's own LAN address comes from its store.
# Addresses of the WAN are of a range for documentation, MAC addresses are locally administered.
ROUTER_LAN_MAC=02:4b:54:70:94:01
ROUTER_WAN_MAC=02:4b:54:70:94:02
WAN_ADDRESS=203.0.113.2
WAN_MASK=255.255.255.0
ISP_ADDRESS=203.0.113.1
ISP_MAC=02:4b:54:00:00:01
PHONE_MAC=02:4b:54:00:00:64
PHONE_NUMBER=100  # the phone's place in the LAN: 192.168.1.100 in 192.168.1.0/24
FIRMWARE_DATE=2026-11-20
