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
address add $lan_ip/$lan_mask broadcast + dev br0
link set br0 up
link add eth1 address $ROUTER_WAN_MAC type veth peer name eth0 address $ISP_MAC netns $run/networks/isp
address add $WAN_ADDRESS/$WAN_MASK broadcast + dev eth1
link set eth1 up
END
    nsenter --net="$run/networks/phone" ip -batch - <<END
link set lo up
address add $phone_ip/$lan_mask broadcast + dev eth0
link set eth0 up
route add default via $lan_ip
END
    nsenter --net="$run/networks/isp" ip -batch - <<END
link set lo up
address add $ISP_ADDRESS/$WAN_MASK broadcast + dev eth0
link set eth0 up
END
    ip route add default via "$ISP_ADDRESS"
    echo 'server.bind = "0.0.0.0"' >"$root/etc/lighttpd-listen.conf"
}

mode_enter() {
    exec env -i PATH=/bin:/sbin chroot "$root" \
        /usr/bin/setpriv --bounding-set="$ROUTER_CAPABILITIES" --no-new-privs "$@"
}

# Whom the web server sees as the client is the kernel's doing.
mode_forward() {
    case "$2" in
    127.*) exec "$run/portal" forward "$1" 127.0.0.1:80 ;;
    *) exec nsenter --net="$run/networks/phone" "$run/portal" forward "$1" "$lan_ip:80" ;;
    esac
}

# The end of the namespaces' first process ends all others.
mode_stop() { :; }

mode_clean() { :; }
