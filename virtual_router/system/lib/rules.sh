# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# Rules for the kernel's packet filter. Where the router has no kernel of its own, there is no nft either: without a
# network of its own it must not touch the PC's.

# What leads out of the home, as nft names a set.
# shellcheck disable=SC2034  # read by the commands
outside='{ eth1, ppp0 }'

# tell_whether_in_force WHAT LINES REFUSAL: prints that as many of them as there are lines are in force, or, with a refusal,
# that they are not.
tell_whether_in_force() {
    if [ -n "$2" ]; then
        echo "$1 ${3:+not }in force: $(echo "$2" | wc -l)${3:+ ($(echo "$3" | head -n 1))}"
    else
        echo "no $1"
    fi
}

# put_rules TABLE FRAME RULES: makes the table what these nft commands make of it, all or nothing. Prints the rules, and
# whether they are in force; where they are not, why.
put_rules() {
    [ -z "$3" ] || echo "$3" | sed 's/^/nft /'
    if ! command -v nft >/dev/null; then
        put_rules_refusal="this router has no nft"
    elif put_rules_refusal=$(nft -f - 2>&1 <<END
add table inet $1
delete table inet $1
add table inet $1
$2
$3
END
    ); then
        put_rules_refusal=
    fi
    tell_whether_in_force "$1 rules" "$3" "$put_rules_refusal"
}
