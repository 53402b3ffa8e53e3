#!/usr/bin/env bash
# Lays out a virtual router and runs it until its cord is pulled or a part of it ends. Started by script/server, and for
# mesh agents by itself:
#
#   router.sh MODE BUILD-FOLDER STATE-FOLDER LOOPBACK DEBUG AGENTS [HOME-FILE STILL]
#
# MODE names a file in modes/, which holds all that differs between the ways to run the router. LOOPBACK and DEBUG are
# yes or no. AGENTS is the number of mesh agents in the home; for an agent, its own number. HOME-FILE is played around the
# router; STILL is yes where it waits to be told to move. Descriptors that it is given:
#   0  the cord: its end of file ends the router, so whoever holds the other end need not survive to stop it
#   3  the listening socket of the PC's port; 4 that of the loopback port if LOOPBACK is yes
#   9  takes "name=value" lines about the router when it is up
#
# A mode defines:
#   mode_make_room               makes the folder $run ready to hold the router
#   mode_complete_root           adds to $root what cannot be laid out as plain files
#   mode_network                 makes the links of the network; addresses come later
#   mode_enter COMMAND...        becomes COMMAND inside the router
#   mode_follow_lan ADDRESS MASK makes the home follow the router's LAN address
#   mode_parts                   starts the parts beside the router itself, such as the PC's ports
#   mode_up                      waits until the router can be used; prints what is to be known of it
#   mode_stop PID...             ends the parts and all that they run
#   mode_clean                   removes what outlives the router's processes
set -eu
export PATH="$PATH:/usr/sbin:/sbin"

readonly mode=$1 build=$2 state=$3 loopback=$4 debug=$5 agents=$6 home=${7-} still=${8-}
readonly run=$state/run
readonly root=$run/root
here=$(dirname "$(readlink -f "$0")")
readonly here
# shellcheck source=virtual_router/home.sh
. "$here/home.sh"
# shellcheck source=virtual_router/system/lib/address.sh
. "$here/system/lib/address.sh"
# shellcheck source=virtual_router/modes/namespaces.sh
. "$here/modes/$mode.sh"

# The file system of the router, but for what a mode has to add. Beside it lie the two programs that serve it from outside.
# All are copies, so that a build does not disturb a router that runs.
lay_out_root() {
    cp "$build"/{portal,console} "$run"
    mkdir -p "$root"/{bin,dev,etc,flash,home,lib,proc,tmp,usr,web/{app,pages}} "$root"/var/{mib,run,tmp}
    ln -s bin "$root/sbin"
    busybox --install -s "$root/bin"
    # /lib is the router's own: it holds what the firmware supplies, and leads the loader to the PC's libraries.
    cp "$build"/lib{apmib,arpcheck,driver}.so "$root/lib"
    echo /lib/libdriver.so >"$root/etc/ld.so.preload"
    local entry
    for entry in /usr/lib/ld-* /usr/lib/*-linux-gnu*; do
        ln -s "$entry" "$root/lib/"
    done
    if [ -e /usr/lib64 ]; then
        ln -s usr/lib64 "$root/lib64"
    fi
    # The router's own commands take the place of BusyBox's.
    cp --remove-destination "$build"/{flash,system_daemon,udhcpd,speedtest} "$here"/system/bin/* "$root/bin"
    ln -s /usr/bin/curl "$root/bin/curl"
    cp "$here"/system/lib/* "$root/lib"
    cp "$here/home.sh" "$root/etc/home.conf"
    cp "$build/app.cgi" "$root/web/app"
    : >"$root/web/status-500.html"
    cp "$here"/web/* "$root/web/pages"
    cp "$here/lighttpd.conf" "$here/apmib/items.conf" "$root/etc"
    echo 'root:x:0:0:root:/:/bin/sh' >"$root/etc/passwd"
    echo 'root:x:0:' >"$root/etc/group"
    echo '127.0.0.1 localhost' >"$root/etc/hosts"
    echo "Compile Date: $FIRMWARE_DATE" >"$root/etc/fwInfo.file"
    mkfifo "$root/dev/console" "$root/dev/lan"
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

# Follows the LAN address for ever, as it stands in the lines that the router writes when it changes it: an address and a
# mask, or twice "none".
follow_lan() {
    local address mask
    while read -r address mask; do
        mode_follow_lan "$address" "$mask"
    done
}

# Writes a file of $run, which is never seen half written.
put_file() {
    echo "$2" >"$run/$1.new"
    mv "$run/$1.new" "$run/$1"
}

await_file() {
    local tenths
    for ((tenths = 0; tenths < 100; ++tenths)); do
        [ ! -e "$1" ] || return 0
        sleep 0.1
    done
    echo "router: $1 does not appear" >&2
    return 1
}

# home COMMAND [WORD...]: becomes the player of the home file. Run in a process of its own.
home() {
    local command=$1
    shift
    exec /usr/bin/python3 "$here/home/home.py" "$command" "$home" "$PHONE_MAC" "$PHONE_PLACE" "$@"
}

# Stores the settings of the home, unless they are those that were stored the last time: what was changed since then stays.
store_home() {
    local settings setting
    settings=$(home store)
    if [ "$settings" = "$(cat "$state/flash/home-taken" 2>/dev/null)" ]; then
        return
    fi
    while IFS= read -r setting; do
        [ -z "$setting" ] || (enter flash set "${setting%% *}" "${setting#* }") || {
            echo "router: the setting ${setting%% *} of $home cannot be stored" >&2
            return 1
        }
    done <<<"$settings"
    (enter flash commit)
    echo "$settings" >"$state/flash/home-taken"
}

# Waits for the phone, and prints what an app on it must know.
introduce_phone() {
    await_file "$run/phone"
    echo "phone_ip=$(cat "$run/phone")"
    echo "user=$(store_value MIB_USER_NAME)"
    echo "password=$(store_value MIB_USER_PASSWORD)"
    echo "up=yes"
}

# Prints the place that the phone takes in the LAN of the router's address $1 and mask $2: its usual one or one of the
# last two. Fails where there is no room, and where the router has no address.
phone_address() {
    [ "$1" != none ] || return 1
    lan_host "$1" "$2" "$PHONE_PLACE" || lan_host "$1" "$2" -1 || lan_host "$1" "$2" -2
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
    start_part "pairing daemon" enter wscd
    start_part "DHCP server" enter udhcpd -f
    mode_parts
    if [ -n "$home" ]; then
        start_part "home" home play "$ROUTER_LAN_MAC" "$run" "$still" 3<&- 4<&- 8<&- 9<&-
    fi
    start_part "LAN" follow_lan <>"$root/dev/lan" 3<&- 4<&- 9<&-
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
mode_network
(enter flash boot)
[ -z "$home" ] || store_home
start_parts
(enter startup 2>&1) | "$run/console" startup 3<&- 4<&- 9<&-
[ -z "$home" ] || await_file "$run/home.ready"
mode_up >&9
exec 3<&- 4<&- 9<&-
await_end
