# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# IPv4 addresses in shell arithmetic. Read by the router's commands and by the scripts that make its home, in any shell.

# Succeeds if $1 is a dotted quad.
is_address() {
    expr "x$1" : 'x[0-9]\{1,3\}\(\.[0-9]\{1,3\}\)\{3\}$' >/dev/null || return 1
    (
        IFS=.
        # shellcheck disable=SC2086  # four words
        set -- $1
        [ "$1" -le 255 ] && [ "$2" -le 255 ] && [ "$3" -le 255 ] && [ "$4" -le 255 ]
    )
}

address_to_number() (
    IFS=.
    # shellcheck disable=SC2086  # four words
    set -- $1
    echo $((($1 << 24) + ($2 << 16) + ($3 << 8) + $4))
)

number_to_address() {
    echo "$(($1 >> 24 & 255)).$(($1 >> 16 & 255)).$(($1 >> 8 & 255)).$(($1 & 255))"
}

# Prints the address of host $3, counted from 1, in the LAN of the router's address $1 and mask $2. A negative number
# counts from the last host, which is -1. Fails where the LAN has no such host or the router is that host.
lan_host() {
    lan_host_own=$(address_to_number "$1")
    lan_host_mask=$(address_to_number "$2")
    lan_host_broadcast=$((~lan_host_mask & 0xffffffff))
    lan_host_place=$(($3 < 0 ? lan_host_broadcast + $3 : $3))
    if [ "$lan_host_place" -lt 1 ] || [ "$lan_host_place" -ge "$lan_host_broadcast" ] ||
        [ $(((lan_host_own & lan_host_mask) + lan_host_place)) -eq "$lan_host_own" ]; then
        return 1
    fi
    number_to_address $(((lan_host_own & lan_host_mask) + lan_host_place))
}
