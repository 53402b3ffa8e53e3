#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
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
#   mode_follow_lan ADDRESS MASK makes the phone and the agents follow the router's LAN address, and notes them in fixed
#   mode_follow_hosts            makes the hosts of the LAN those in neighbours and wired
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
    cp "$here/lighttpd.conf" "$here"/../platform/{items,records}.conf "$root/etc"
    echo 'root:x:0:0:root:/:/bin/sh' >"$root/etc/passwd"
    echo 'root:x:0:' >"$root/etc/group"
    echo '127.0.0.1 localhost' >"$root/etc/hosts"
    echo "Compile Date: $FIRMWARE_DATE" >"$root/etc/fwInfo.file"
    # There before anything runs: some files are a home's to write, and what starts first must not take them away.
    [ -z "$home" ] || : >"$root/etc/home-played"
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

# Who is on the LAN, as the part that follows it knows.
lan_address=none lan_mask=none
declare -A fixed=()       # address -> MAC address, of the phone and the mesh agents
declare -A neighbours=()  # address -> MAC address, of all: what the router's ARP table must hold
declare -A wired=()       # MAC address -> its addresses, of the home's hosts with a cable that are hosts of their own
hosts_seen=               # the lines that these were made of

# Follows the LAN for ever: its address, as it stands in the lines that the router writes when it changes it (an address and
# a mask, or twice "none"), and its hosts.
follow_lan() {
    local address mask never
    exec {never}<> <(:)  # nothing ever comes here: waiting for it is a pause without a process
    while :; do
        # Only a line that is there is read: a read that gives up in the middle of one loses its beginning.
        if read -r -t 0; then
            read -r address mask
            lan_address=$address lan_mask=$mask
            mode_follow_lan "$address" "$mask"
            hosts_seen=
        else
            read -r -t 0.2 -u "$never" || true
        fi
        follow_hosts
    done
}

# Follows the file of the home's hosts, if it has changed. A line is an address, a MAC address, and "wired" or "air". Other
# lines say nothing, and nobody gets an address or a MAC address of the router, the phone or an agent.
# Whoever removes the file lan-follows finds it again when what was in the file by then is followed.
follow_hosts() {
    local lines=() line address mac told=no
    [ -e "$run/lan-follows" ] || told=yes
    { mapfile -t lines <"$root/home/hosts"; } 2>/dev/null || true
    if [ "seen ${lines[*]}" != "$hosts_seen" ]; then
        hosts_seen="seen ${lines[*]}"
        neighbours=() wired=()
        for line in "${lines[@]}"; do
            if [[ $line =~ ^(([0-9]{1,3}\.){3}[0-9]{1,3})\ (([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2})\ (wired|air)$ ]]; then
                address=${BASH_REMATCH[1]} mac=${BASH_REMATCH[3],,}
                if [[ " $lan_address ${!fixed[*]} " = *" $address "* || " $ROUTER_LAN_MAC ${fixed[*]} " = *" $mac "* ]]; then
                    continue
                fi
                neighbours[$address]=$mac
                # Hosts of their own take the machine some time, so there are not many.
                if [ "${BASH_REMATCH[5]}" = wired ] && [[ -v wired[$mac] || ${#wired[@]} -lt $REAL_HOSTS ]]; then
                    wired[$mac]+=" $address"
                fi
            fi
        done
        for address in "${!fixed[@]}"; do
            neighbours[$address]=${fixed[$address]}
        done
        mode_follow_hosts
    fi
    [ "$told" = no ] || : >"$run/lan-follows"
}

# Writes a file of $run, which is never seen half written.
put_file() {
    echo "$2" >"$run/$1.new"
    mv "$run/$1.new" "$run/$1"
}

await_file() {
    local tenths part
    for ((tenths = 0; tenths < 600; ++tenths)); do  # a busy PC may take its time
        [ ! -e "$1" ] || return 0
        for part in "${!parts[@]}"; do
            if ! kill -0 "$part" 2>/dev/null; then
                echo "The router's ${parts[$part]} has ended while it started." >&2
                return 1
            fi
        done
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
if [ -n "$home" ]; then
    await_file "$run/home.ready"
    rm -f "$run/lan-follows"
    await_file "$run/lan-follows"
fi
mode_up >&9
exec 3<&- 4<&- 9<&-
await_end
