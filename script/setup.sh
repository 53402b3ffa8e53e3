#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The Debian packages that the project needs, by purpose, and their installation.
#
#   script/setup.sh GROUP...     installs what is missing of the named groups
#
# Other scripts source this file and call require_packages.
set -eu

# One line per group; the names are those of Debian 12. script/suites.sh tells which suite needs which.
packages_of() {
    case "$1" in
    build) echo g++ cmake ninja-build libcjson-dev liblmdb-dev libgtest-dev ;;
    router) echo lighttpd busybox proot iproute2 nftables python3 python3-jsonschema python3-seccomp python3-tornado curl ;;
    home) echo python3 python3-jsonschema ;;
    python) echo python3 ;;
    contract) echo python3 python3-yaml python3-jsonschema ;;
    # npm is part of the package nodejs where that does not come from Debian.
    clients) echo python3 mypy kotlin nodejs "$(command -v npm >/dev/null || echo npm)" ;;
    browser) echo chromium nodejs "$(command -v npm >/dev/null || echo npm)" ;;
    pictures) echo pngquant ;;
    cases) echo python3 proot ;;
    web-servers) echo lighttpd busybox nginx-light fcgiwrap apache2 mini-httpd ;;
    valgrind) echo valgrind libc6-dbg ;;
    fuzz) echo clang-14 libclang-rt-14-dev llvm-14 python3 ;;
    lint) echo clang-14 clang-tidy-14 clang-format-14 cppcheck shellcheck flake8 ;;
    bench) echo wrk lua5.4 lua-cjson jq musl-tools ;;
    man) echo groff-base ;;
    container) echo mmdebstrap buildah python3 dpkg-dev ;;
    git) echo git ;;
    source) echo dpkg-dev make ;;
    mipsel) echo g++-mipsel-linux-gnu qemu-user-static ;;
    mips) echo g++-mips-linux-gnu qemu-user-static ;;
    armhf) echo g++-arm-linux-gnueabihf qemu-user-static ;;
    machine) echo qemu-system-mips ;;
    mipsel-24kc) echo g++-mipsel-linux-gnu qemu-user-static ;;
    mips-24kc) echo g++-mips-linux-gnu qemu-user-static ;;
    armv5) echo g++-arm-linux-gnueabi qemu-user-static ;;
    armv7) echo g++-arm-linux-gnueabihf qemu-user-static ;;
    aarch64) echo g++-aarch64-linux-gnu qemu-user-static ;;
    targets)
        echo g++-mipsel-linux-gnu g++-mips-linux-gnu g++-arm-linux-gnueabihf g++-aarch64-linux-gnu musl-tools \
            qemu-user-static
        ;;
    *)
        echo "setup.sh: no package group is named '$1'" >&2
        return 2
        ;;
    esac
}

# Prints those of the packages given as arguments that are not installed, each followed by a space.
missing_packages() {
    local installed name
    # dpkg-query complains about names that it doesn't know; those are exactly the missing ones.
    # shellcheck disable=SC2016  # ${...} is dpkg-query's own notation
    installed=" $(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null |
        sed -n 's/ installed$//p' | tr '\n' ' ')"
    for name in $(printf '%s\n' "$@" | sort -u); do
        case "$installed" in *" $name "*) ;; *) printf '%s ' "$name" ;; esac
    done
}

# Keeps package scripts from starting services while the command given as arguments runs: the router's own web server
# must not become the machine's.
without_services() (
    policy=/usr/sbin/policy-rc.d
    if [ ! -e "$policy" ]; then
        trap 'rm -f "$policy"' EXIT
        trap 'exit 130' INT TERM HUP
        printf '#!/bin/sh\nexit 101\n' >"$policy"
        chmod 755 "$policy"
    fi
    "$@"
)

apt_install() {
    DEBIAN_FRONTEND=noninteractive without_services \
        apt-get install -y -q --no-install-recommends "$@"
}

install_packages() {
    local log=
    log=$(mktemp)
    # Package lists that are missing or out of date make the first attempt fail; then they are fetched.
    if ! apt_install "$@" >"$log" 2>&1; then
        if ! { apt-get update -q && apt_install "$@"; } >"$log" 2>&1; then
            cat "$log" >&2
            rm -f "$log"
            return 1
        fi
    fi
    rm -f "$log"
    case " $* " in
    *" lighttpd "*)
        # Only its program is wanted: without this the service would start with the machine's next boot.
        if command -v update-rc.d >/dev/null; then
            update-rc.d lighttpd disable >/dev/null 2>&1 || true
        fi
        ;;
    esac
}

# Sees to it that the packages of the named groups are installed. Says what it installs; without the right to do so, says
# what to type and fails.
require_packages() {
    local group wanted='' missing command
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "This needs a Debian 12 system: there is no dpkg-query or apt-get here." >&2
        return 1
    fi
    for group in "$@"; do
        wanted="$wanted $(packages_of "$group")" || return
    done
    # shellcheck disable=SC2086  # a list of words
    missing=$(missing_packages $wanted)
    [ -n "$missing" ] || return 0
    command="apt-get install --no-install-recommends $missing"
    if [ "$(id -u)" -ne 0 ]; then
        echo "Some Debian packages are missing. Install them with:" >&2
        echo "  sudo apt-get update && sudo ${command% }" >&2
        return 1
    fi
    echo "Installing Debian packages: ${missing% }"
    # shellcheck disable=SC2086  # a list of words
    if ! install_packages $missing; then
        echo "The packages could not be installed (output of apt-get above). To try by hand: ${command% }" >&2
        return 1
    fi
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    if [ $# -eq 0 ]; then
        set -- build router home cases valgrind lint
    fi
    require_packages "$@"
fi
