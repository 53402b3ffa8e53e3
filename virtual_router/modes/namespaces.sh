# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # variables of router.sh and home.sh
# The router in Linux namespaces of its own: the kernel supplies addresses, routes, the ARP table, pings and the queue, and
# clears everything away when the namespaces' first process ends.

# --- for script/server -----------------------------------------------------------------------------------------------

# Sets mode_command to what makes the namespaces and runs a command in them. Fails, with the reason in mode_refusal, where
# they cannot be made or used: root tries as such first, and then as everybody, with a user namespace.
mode_try() {
    local user refusal
    mode_refusal=
    for user in "" "--user --map-root-user"; do
        if [ -z "$user" ] && [ "$(id -u)" -ne 0 ]; then
            continue
        fi
        # shellcheck disable=SC2206  # words
        mode_command=(unshare $user --mount --net --ipc --uts --pid --fork --kill-child --propagation private)
        # shellcheck disable=SC2016  # $1 is that shell's
        if refusal=$("${mode_command[@]}" sh -euc '
            mount -t proc proc /proc
            mount -t tmpfs tmpfs "$1"
            ip link add br0 type bridge
            ip link add eth1 type veth peer name isp' sh "$1" 2>&1); then
            return 0
        fi
        mode_refusal=${mode_refusal:-$refusal}
    done
    return 1
}

# --- for router.sh ---------------------------------------------------------------------------------------------------

# What the router's programs may do as root: run a network, not reach out of their root.
readonly ROUTER_CAPABILITIES=-all,+chown,+dac_override,+fowner,+fsetid,+kill,+setgid,+setuid,+net_bind_service,\
+net_admin,+net_raw

mode_make_room() {
    hostname router
    mount -t proc proc /proc  # the old one knows other process ids
    mount -t tmpfs -o mode=755 router "$run"
    mkdir "$run/networks"
}

mode_complete_root() {
    local device
    for device in null zero random urandom; do
        : >"$root/dev/$device"
        mount --bind "/dev/$device" "$root/dev/$device"
    done
    mount --bind "$state/flash" "$root/flash"
    mount --rbind /usr "$root/usr"
    mount -o remount,bind,ro "$root/usr"
    mount -t proc proc "$root/proc"
    # Only a router with a network of its own has the means to change the kernel's rules.
    ln -s /usr/sbin/nft /usr/sbin/tc "$root/bin/"
    # Root inside is root outside for the files here, where the router was started by root.
    mount --bind "$root/proc/sys" "$root/proc/sys"
    mount -o remount,bind,ro "$root/proc/sys"
    if [ -e "$root/proc/sysrq-trigger" ]; then
        mount --bind /dev/null "$root/proc/sysrq-trigger"
    fi
}

# Makes a network beside the router's, of that name.
add_network() {
    : >"$run/networks/$1"
    unshare --net="$run/networks/$1" true
}

mode_network() {
    add_network phone
    add_network isp
    ip -batch - <<END
link set lo up
link add br0 address $ROUTER_LAN_MAC type bridge
link add lan1 type veth peer name eth0 address $PHONE_MAC netns $run/networks/phone
link set lan1 master br0 up
link add eth1 address $ROUTER_WAN_MAC type veth peer name eth0 address $ISP_MAC netns $run/networks/isp
link add ppp0 type veth peer name ppp0 netns $run/networks/isp
END
    nsenter --net="$run/networks/phone" ip -batch - <<END
link set lo up
link set eth0 up
END
    # The provider answers for its own hosts; a home may have it answer for more of the Internet.
    # shellcheck disable=SC2086  # words
    nsenter --net="$run/networks/isp" ip -batch - <<END
link set lo up
address add $ISP_ADDRESS/$WAN_MASK broadcast + dev eth0
link set eth0 up
address add $PPP_PEER peer $PPP_ADDRESS dev ppp0
link set ppp0 up
$(printf 'address add %s/32 dev lo\n' $PROVIDER_SERVERS)
END
    echo 1 >/proc/sys/net/ipv4/ip_forward
    echo 'server.bind = "0.0.0.0"' >"$root/etc/lighttpd-listen.conf"
}

mode_follow_lan() {
    local phone='' agent address
    # With its address br0 has lost its part of the ARP table, but for what was put there since then.
    ip neigh flush dev br0 nud all
    declare -gA fixed=() entries=()
    if phone=$(phone_address "$1" "$2") && nsenter --net="$run/networks/phone" ip -batch - <<END; then
address flush dev eth0
address add $phone/$2 broadcast + dev eth0
route add default via $1
END
        # shellcheck disable=SC2034  # read by router.sh
        fixed[$phone]=$PHONE_MAC
        put_file phone-target "$1:80"
        echo "home: the phone has the address $phone"
    else
        rm -f "$run/phone-target"
        echo "home: the phone finds no place in the LAN of $1, mask $2"
    fi
    for agent in "${!leases[@]}"; do
        if [ "$1" != none ] && address=$(lan_host "$1" "$2" $((FIRST_AGENT_PLACE + agent - 1))); then
            # shellcheck disable=SC2034  # read by router.sh
            fixed[$address]=$AGENT_MAC_PREFIX$agent
            echo "$address $2 $1" >&"${leases[$agent]}"
        else
            echo "home: agent $agent finds no place in the LAN of $1, mask $2"
            : >"$run/agents/$agent/ready"  # nobody needs to wait for it
        fi
    done
    put_file phone "$phone"
}

declare -A entries=()  # address -> MAC address, of the entries that were put into the router's ARP table
declare -A plugged=()  # MAC address -> addresses, mask and gateway, of the hosts that were made

mode_follow_hosts() {
    unplug_hosts
    plug_hosts
    # An entry is missing where br0 was down for a while: all are put there anew.
    if ! change_entries 2>/dev/null; then
        ip neigh flush dev br0 nud all || true
        entries=()
        change_entries || true
    fi
}

# Makes the neighbours the entries of the router's ARP table. They are permanent: most of these hosts cannot answer the
# kernel's questions, and the others are to be known before they send anything. Fails where an old entry is missing.
change_entries() {
    local address changes=''
    for address in "${!entries[@]}"; do
        if [ "${neighbours[$address]-}" != "${entries[$address]}" ]; then
            changes+="neigh del $address dev br0"$'\n'
            unset "entries[$address]"
        fi
    done
    for address in "${!neighbours[@]}"; do
        if ! [[ -v entries[$address] ]]; then
            changes+="neigh replace $address lladdr ${neighbours[$address]} dev br0 nud permanent"$'\n'
            entries[$address]=${neighbours[$address]}
        fi
    done
    [ -z "$changes" ] || ip -batch - <<<"$changes"
}

# Removes the hosts that have no cable any more, all at once: one by one takes the kernel much longer.
unplug_hosts() {
    local mac name names=() changes=''
    for mac in "${!plugged[@]}"; do
        if ! [[ -v wired[$mac] ]]; then
            name=h${mac//:/}
            names+=("$name")
            changes+="link set dev $name group 1"$'\n'
            unset "plugged[$mac]"
        fi
    done
    [ -n "$changes" ] || return 0
    ip -force -batch - <<<"${changes}link delete group 1" || true
    for name in "${names[@]}"; do
        umount "$run/networks/$name" || true
        rm -f "$run/networks/$name"
    done
}

# Makes a host's network and the link to it.
add_host() {
    add_network "$1" && ip -batch - <<END
link add $1 type veth peer name eth0 address $2 netns $run/networks/$1
link set $1 master br0 up
END
}

# Makes the hosts that have got a cable, each with a network of its own, and gives all the addresses that they have now.
# Those that are not in the router's LAN have no way to it, as while the home has not yet followed the LAN.
plug_hosts() {
    local mac name address changes
    for mac in "${!wired[@]}"; do
        name=h${mac//:/}  # of the network, and of the link to it
        [ "${plugged[$mac]-}" != "${wired[$mac]} $lan_mask $lan_address" ] || continue
        if ! [[ -v plugged[$mac] ]] && ! add_host "$name" "$mac"; then
            echo "home: $mac cannot be pinged: this machine gives it no network"
        fi
        changes=
        for address in ${wired[$mac]}; do
            changes+="address add $address/$lan_mask broadcast + dev eth0"$'\n'
        done
        nsenter --net="$run/networks/$name" ip -force -batch - <<END 2>/dev/null || true
link set lo up
link set eth0 up
address flush dev eth0 scope global
${changes}route add default via $lan_address
END
        plugged[$mac]="${wired[$mac]} $lan_mask $lan_address"
    done
}

mode_enter() {
    exec env -i PATH=/bin:/sbin chroot "$root" \
        /usr/bin/setpriv --bounding-set="$ROUTER_CAPABILITIES" --no-new-privs "$@"
}

# Whom the web server sees as the client is the kernel's doing.
mode_parts() {
    start_part "phone" nsenter --net="$run/networks/phone" "$run/portal" forward 3 "@$run/phone-target" 4<&- 9<&-
    if [ "$loopback" = yes ]; then
        start_part "loopback port" "$run/portal" forward 4 127.0.0.1:80 3<&- 9<&-
    fi
    local agent
    for ((agent = 1; agent <= agents; ++agent)); do
        add_agent "$agent"
    done
}

leases=()  # agent -> descriptor of the pipe that takes its addresses

# Attaches a mesh agent to the LAN: a router of its own, in namespaces and a folder of its own.
add_agent() {
    local name=agent$1 place=$((FIRST_AGENT_PLACE + $1 - 1)) mac=$AGENT_MAC_PREFIX$1 lease
    mkdir -p "$run/agents/$1" "$state/agents/$1/mib"
    ln -s "$state/agents/$1" "$run/agents/$1/flash"
    mkdir "$run/agents/$1/run"
    mkfifo "$run/agents/$1/leases"
    exec {lease}<>"$run/agents/$1/leases"
    leases[$1]=$lease
    add_network "$name"
    ip -batch - <<END
link add $name type veth peer name eth0 address $mac netns $run/networks/$name
link set $name master br0 up
END
    echo "$place $mac" >>"$root/etc/agents"
    start_part "agent $1" run_agent "$1" <&8 3<&- 4<&-
}

# Its ready file is there when it is up.
run_agent() {
    local folder=$run/agents/$1
    nsenter --net="$run/networks/agent$1" unshare --mount --ipc --uts --pid --fork --kill-child --propagation private \
        "$here/router.sh" agent "$build" "$folder" no "$debug" "$1" 9>"$folder/ready.new" 2>&1 |
        "$run/console" "agent $1" 9<&-
}

mode_up() {
    introduce_phone >"$run/introduction"
    local agent
    for agent in "${!leases[@]}"; do
        await_file "$run/agents/$agent/ready"
    done
    cat "$run/introduction"
}

# The end of the namespaces' first process ends all others.
mode_stop() { :; }

mode_clean() { :; }
