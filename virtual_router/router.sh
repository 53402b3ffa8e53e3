#!/usr/bin/env bash
# Lays out the virtual router and runs it until its cord is pulled or a part of it ends. Started by script/server:
#
#   router.sh MODE BUILD-FOLDER STATE-FOLDER LOOPBACK DEBUG
#
# MODE names a file in modes/, which holds all that differs between the ways to run the router. LOOPBACK and DEBUG are
# yes or no. Descriptors that it is given:
#   0  the cord: its end of file ends the router, so whoever holds the other end need not survive to stop it
#   3  the listening socket of the PC's port; 4 that of the loopback port if LOOPBACK is yes
#   9  takes "name=value" lines about the router when it is up
#
# A mode defines:
#   mode_make_room               makes the folder $run ready to hold the router
#   mode_complete_root           adds to $root what cannot be laid out as plain files
#   mode_network                 makes the network; reads lan_ip, lan_mask, phone_ip
#   mode_enter COMMAND...        becomes COMMAND inside the router
#   mode_forward DESCRIPTOR FROM becomes the portal that carries a PC's port to the web server, as the client FROM
#   mode_stop PID...             ends the parts and all that they run
#   mode_clean                   removes what outlives the router's processes
set -eu
export PATH="$PATH:/usr/sbin:/sbin"

readonly mode=$1 build=$2 state=$3 loopback=$4 debug=$5
readonly run=$state/run
readonly root=$run/root
here=$(dirname "$(readlink -f "$0")")
readonly here
# shellcheck source=virtual_router/home.sh
. "$here/home.sh"
# shellcheck source=virtual_router/modes/namespaces.sh
. "$here/modes/$mode.sh"

# The file system of the router, but for what a mode has to add. Beside it lie the two programs that serve it from outside.
# All are copies, so that a build does not disturb a router that runs.
lay_out_root() {
    cp "$build"/{portal,console} "$run"
    mkdir -p "$root"/{bin,dev,etc,flash,lib,proc,tmp,usr,web/{app,pages}} "$root"/var/{mib,run,tmp}
    ln -s bin "$root/sbin"
    busybox --install -s "$root/bin"
    # /lib is the router's own: it holds what the firmware supplies, and leads the loader to the PC's libraries.
    cp "$build"/lib{apmib,arpcheck}.so "$root/lib"
    local entry
    for entry in /usr/lib/ld-* /usr/lib/*-linux-gnu*; do
        ln -s "$entry" "$root/lib/"
    done
    if [ -e /usr/lib64 ]; then
        ln -s usr/lib64 "$root/lib64"
    fi
    cp "$build"/{flash,system_daemon} "$root/bin"
    cp "$build/app.cgi" "$root/web/app"
    : >"$root/web/status-500.html"
    cp "$here"/web/* "$root/web/pages"
    cp "$here/lighttpd.conf" "$here/apmib/items.conf" "$root/etc"
    echo 'root:x:0:0:root:/:/bin/sh' >"$root/etc/passwd"
    echo 'root:x:0:' >"$root/etc/group"
    echo '127.0.0.1 localhost' >"$root/etc/hosts"
    echo "Compile Date: $FIRMWARE_DATE" >"$root/etc/fwInfo.file"
    mkfifo "$root/dev/console"
    if [ "$debug" = yes ]; then
        echo 1 >"$root/var/appdebug"
    fi
}

# Becomes a command inside the router. Run in a process of its own: (enter ...) or enter ... &
enter() {
    # Neither the descriptors nor the environment of the PC are the router's business. 255 is this shell's own.
    local descriptor
    for descriptor in /proc/self/fd/*; do
        descriptor=${descriptor##*/}
        if [ "$descriptor" -gt 2 ] && [ "$descriptor" -ne 255 ]; then
            exec {descriptor}>&-
        fi
    done
    mode_enter "$@"
}

# Prints the value of a store item.
store_value() {
    (enter flash get "$1") | sed 's/^[^=]*=//'
}

address_to_number() {
    local IFS=.
    # shellcheck disable=SC2086  # four words
    set -- $1
    echo $((($1 << 24) + ($2 << 16) + ($3 << 8) + $4))
}

number_to_address() {
    echo "$(($1 >> 24 & 255)).$(($1 >> 16 & 255)).$(($1 >> 8 & 255)).$(($1 & 255))"
}

# The phone's address in the LAN of the router's address $1 and mask $2.
phone_address() {
    local own mask last place
    own=$(address_to_number "$1")
    mask=$(address_to_number "$2")
    last=$(((~mask & 0xffffffff) - 1))  # the place before the broadcast address
    place=$((PHONE_NUMBER <= last ? PHONE_NUMBER : last))
    if [ $(((own & mask) + place)) -eq "$own" ]; then
        place=$((place - 1))
    fi
    number_to_address $(((own & mask) + place))
}

declare -A parts=()  # process id -> name

start_part() {
    local name=$1
    shift
    "$@" <&0 &  # without the redirection a shell gives it no standard input
    parts[$!]=$name
}

start_parts() {
    start_part "system daemon" enter system_daemon
    start_part "web server" enter /usr/sbin/lighttpd -D -f /etc/lighttpd.conf \
        2> >(exec "$run/console" lighttpd 3<&- 4<&- 9<&-)
    # Opened for reading and writing, so that it never ends.
    start_part "console" "$run/console" console <>"$root/dev/console" 3<&- 4<&- 9<&-
    start_part "phone" mode_forward 3 "$phone_ip" 4<&- 9<&-
    if [ "$loopback" = yes ]; then
        start_part "loopback port" mode_forward 4 127.0.0.1 3<&- 9<&-
    fi
    start_part "cord" cat <&8 3<&- 4<&- 9<&-
}

stop_parts() {
    mode_stop "${!parts[@]}" || true
    mode_clean
}

# Waits until a part ends; the cord is the one that may.
await_end() {
    local part='' status=0
    wait -n -p part || status=$?
    if [ -z "$part" ] || [ "${parts[$part]}" = cord ]; then
        return 0
    fi
    echo "The router's ${parts[$part]} has ended with status $status." >&2
    unset "parts[$part]"
    return 1
}

trap 'exit 143' TERM INT HUP
trap stop_parts EXIT
exec 8<&0 </dev/null

mode_make_room
lay_out_root
mode_complete_root
(enter flash boot)
lan_ip=$(store_value MIB_LAN_IP_ADDR)
lan_mask=$(store_value MIB_LAN_SUBNET_MASK)
phone_ip=$(phone_address "$lan_ip" "$lan_mask")
mode_network
start_parts
{
    echo "phone_ip=$phone_ip"
    echo "user=$(store_value MIB_USER_NAME)"
    echo "password=$(store_value MIB_USER_PASSWORD)"
    echo "up=yes"
} >&9
exec 3<&- 4<&- 9<&-
await_end
