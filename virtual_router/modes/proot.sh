# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # variables of router.sh and home.sh
# The router where no namespace can be made. Its root is played by proot, the kernel's network by libplayed.so and by files
# in the place of /proc. The web server listens on a socket in the root and is told who the client is.

# --- for script/server -----------------------------------------------------------------------------------------------

# Sets mode_command to what the router is run with: nothing. Fails, with the reason in mode_refusal, where proot does not
# work.
mode_try() {
    # shellcheck disable=SC2034  # read by script/server
    mode_command=()
    # shellcheck disable=SC2034  # read by script/server
    mode_refusal=$(PROOT_TMP_DIR=$1 proot -r / /bin/true 2>&1)
}

# --- for router.sh ---------------------------------------------------------------------------------------------------

mode_make_room() {
    mode_clean
    mkdir -p "$run/proot"
}

mode_complete_root() {
    cp "$build/libplayed.so" "$root/lib"
    echo /lib/libplayed.so >>"$root/etc/ld.so.preload"
    # The key of a queue that nobody else uses.
    local queue key
    queue=$(ipcmk --queue --mode 0666 | sed 's/.*: *//')
    echo "$queue" >"$run/queue"
    key=$(awk -v id="$queue" '$2 == id { print $1 }' /proc/sysvipc/msg)
    echo "queue-key $key" >"$root/etc/played"
}

mode_network() {
    cat >>"$root/etc/played" <<END
interface lo 127.0.0.1 255.0.0.0 00:00:00:00:00:00 65536 up
interface br0 0.0.0.0 0.0.0.0 $ROUTER_LAN_MAC 1500 down
interface eth1 0.0.0.0 0.0.0.0 $ROUTER_WAN_MAC 1500 down
interface ppp0 0.0.0.0 0.0.0.0 00:00:00:00:00:00 1500 down
END
    mkdir "$root/proc/net"
    local device
    {
        echo 'Inter-|   Receive                                                |  Transmit'
        echo ' face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed'
        for device in lo br0 eth1 ppp0; do
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

mode_follow_lan() {
    local phone=''
    declare -gA fixed=()
    if phone=$(phone_address "$1" "$2"); then
        fixed[$phone]=$PHONE_MAC
        put_file phone-target "$root/var/run/http.sock $phone $1"
        echo "home: the phone has the address $phone"
    else
        rm -f "$run/phone-target"
        echo "home: the phone finds no place in the LAN of $1, mask $2"
    fi
    put_file phone "$phone"
}

mode_follow_hosts() {
    local address arp='IP address       HW type     Flags       HW address            Mask     Device' entry answers
    for address in "${!neighbours[@]}"; do
        printf -v entry '%-16s 0x1         0x6         %s     *        br0' "$address" "${neighbours[$address]}"
        arp+=$'\n'$entry
    done
    put_in_root /proc/net/arp "$arp"
    answers="answers $ISP_ADDRESS"
    # shellcheck disable=SC2048  # words
    for address in $PPP_PEER $PROVIDER_SERVERS "${!fixed[@]}" ${wired[*]}; do
        answers+=$'\n'"answers $address"
    done
    put_in_root /etc/played-answers "$answers"
}

# Writes a file of the root, which is never seen half written.
put_in_root() {
    echo "$2" >"$root$1.new"
    mv "$root$1.new" "$root$1"
}

mode_enter() {
    exec env -i PATH=/bin:/sbin PROOT_TMP_DIR="$run/proot" proot --verbose=-1 --root-id --rootfs="$root" --cwd=/ \
        --bind=/usr --bind=/dev/null --bind=/dev/zero --bind=/dev/random --bind=/dev/urandom \
        --bind="$state/flash:/flash" "$@"
}

mode_parts() {
    start_part "phone" "$run/portal" forward 3 "@$run/phone-target" 4<&- 9<&-
    if [ "$loopback" = yes ]; then
        start_part "loopback port" "$run/portal" forward 4 "$root/var/run/http.sock" 127.0.0.1 127.0.0.1 3<&- 9<&-
    fi
}

mode_up() {
    introduce_phone
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
