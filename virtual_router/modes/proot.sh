# shellcheck shell=bash disable=SC2154  # variables of router.sh and home.sh
# The router where no namespace can be made. Its root is played by proot, the kernel's network by libplayed.so and by files
# in the place of /proc. The web server listens on a socket in the root and is told who the client is.

# --- for script/server -----------------------------------------------------------------------------------------------

# Sets mode_command to what the router is run with: nothing. Fails, with the reason in mode_refusal, where proot does not
# work.
mode_try() {
    mode_command=()
    mode_refusal=$(PROOT_TMP_DIR=$1 proot -r / /bin/true 2>&1)
}

# --- for router.sh ---------------------------------------------------------------------------------------------------

mode_make_room() {
    mode_clean
    mkdir -p "$run/proot"
}

mode_complete_root() {
    cp "$build/libplayed.so" "$root/lib"
    echo /lib/libplayed.so >"$root/etc/ld.so.preload"
    # The key of a queue that nobody else uses.
    local queue key
    queue=$(ipcmk --queue --mode 0666 | sed 's/.*: *//')
    echo "$queue" >"$run/queue"
    key=$(awk -v id="$queue" '$2 == id { print $1 }' /proc/sysvipc/msg)
    echo "queue-key $key" >"$root/etc/home"
}

# An address as the kernel's tables in /proc/net have it on this machine.
route_number() {
    local number
    number=$(address_to_number "$1")
    printf '%02X%02X%02X%02X' $((number & 255)) $((number >> 8 & 255)) $((number >> 16 & 255)) $((number >> 24))
}

network_of() {
    number_to_address $(($(address_to_number "$1") & $(address_to_number "$2")))
}

mode_network() {
    cat >>"$root/etc/home" <<END
interface lo 127.0.0.1 255.0.0.0 00:00:00:00:00:00
interface br0 $lan_ip $lan_mask $ROUTER_LAN_MAC
interface eth1 $WAN_ADDRESS $WAN_MASK $ROUTER_WAN_MAC
answers $phone_ip
answers $ISP_ADDRESS
END
    mkdir "$root/proc/net"
    local line="%s\t%s\t%s\t%s\t0\t0\t0\t%s\t0\t0\t0\n" device
    {
        printf 'Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n'
        # shellcheck disable=SC2059  # the format is a variable
        {
            printf "$line" eth1 00000000 "$(route_number "$ISP_ADDRESS")" 0003 00000000
            printf "$line" br0 "$(route_number "$(network_of "$lan_ip" "$lan_mask")")" 00000000 0001 \
                "$(route_number "$lan_mask")"
            printf "$line" eth1 "$(route_number "$(network_of "$WAN_ADDRESS" "$WAN_MASK")")" 00000000 0001 \
                "$(route_number "$WAN_MASK")"
        }
    } >"$root/proc/net/route"
    {
        echo 'IP address       HW type     Flags       HW address            Mask     Device'
        printf '%-16s 0x1         0x2         %s     *        br0\n' "$phone_ip" "$PHONE_MAC"
    } >"$root/proc/net/arp"
    {
        echo 'Inter-|   Receive                                                |  Transmit'
        echo ' face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed'
        for device in lo br0 eth1; do
            printf '%6s: 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n' "$device"
        done
    } >"$root/proc/net/dev"
    cat >"$root/etc/lighttpd-listen.conf" <<'END'
server.modules += ( "mod_extforward" )
server.bind = "/var/run/http.sock"
extforward.forwarder = ( "all" => "trust" )
extforward.hap-PROXY = "enable"
END
}

mode_enter() {
    exec env -i PATH=/bin:/sbin PROOT_TMP_DIR="$run/proot" proot --verbose=-1 --root-id --rootfs="$root" --cwd=/ \
        --bind=/usr --bind=/dev/null --bind=/dev/zero --bind=/dev/random --bind=/dev/urandom \
        --bind="$state/flash:/flash" "$@"
}

mode_forward() {
    exec "$run/portal" forward "$1" "$root/var/run/http.sock" "$2" "$([ "$2" = "$phone_ip" ] && echo "$lan_ip" || echo "$2")"
}

# SIGQUIT is proot's call to end all that it runs, SIGTERM is the other parts'.
mode_stop() {
    kill -QUIT "$@"
    kill -TERM "$@"
    wait
} 2>/dev/null

mode_clean() {
    if [ -e "$run/queue" ]; then
        ipcrm --queue-id "$(cat "$run/queue")" 2>/dev/null || true
    fi
    rm -rf "$run"
}
