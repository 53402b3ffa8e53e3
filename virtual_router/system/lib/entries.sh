# SPDX-License-Identifier: MIT
# shellcheck shell=sh disable=SC3057  # the router's shell cuts strings
# Entries of the store's tables, as `flash` prints them: two hexadecimal digits for each byte, entries with commas between.

# entries TABLE: prints the entries, one word each.
entries() {
    echo "$1" | tr ',' ' '
}

entry_records=$(cat /etc/records.conf)

# find_field FIELD: gives field_at the place and field_size the size, both in digits, of a field of a record, RECORD.FIELD
# (platform/records.conf).
find_field() {
    field_line=${entry_records#*"
$1 "}
    if [ "$field_line" = "$entry_records" ]; then
        echo "no record has a field $1" >&2
        return 1
    fi
    # shellcheck disable=SC2086  # the place and the kind
    set -- ${field_line%%"
"*}
    case "$2" in
    byte* | text*) field_size=2 ;;
    uint16*) field_size=4 ;;
    mac) field_size=12 ;;
    *) field_size=8 ;;
    esac
    case "$2" in *\[*)
        field_line=${2#*[}
        field_size=$((field_size * ${field_line%]}))
        ;;
    esac
    field_at=$(($1 * 2))
}

# entry_bytes ENTRY FIELD: prints the bytes' digits.
entry_bytes() {
    find_field "$2" && echo "${1:$field_at:$field_size}"
}

# entry_number ENTRY FIELD: prints an unsigned number, the low byte first.
entry_number() {
    entry_number_digits=$(entry_bytes "$@") || return 1
    entry_number_value=
    while [ -n "$entry_number_digits" ]; do
        entry_number_value=${entry_number_digits:0:2}$entry_number_value
        entry_number_digits=${entry_number_digits:2}
    done
    echo $((0x$entry_number_value))
}

# entry_address ENTRY FIELD: prints an IPv4 address.
entry_address() {
    number_to_address $((0x$(entry_bytes "$@")))
}

# entry_text ENTRY FIELD: prints a text up to its NUL, with "?" for control characters.
entry_text() {
    entry_text_digits=$(entry_bytes "$@")
    entry_text_codes=
    while [ -n "$entry_text_digits" ]; do
        case "$entry_text_digits" in
        00*) break ;;
        0* | 1* | 7f*) entry_text_codes="$entry_text_codes?" ;;
        *) entry_text_codes="$entry_text_codes\\x${entry_text_digits:0:2}" ;;
        esac
        entry_text_digits=${entry_text_digits:2}
    done
    printf '%b' "$entry_text_codes"
}

# quoted TEXT: prints a text as a word of the shell.
quoted() {
    printf "'%s'" "$(printf '%s' "$1" | sed "s/'/'\\\\''/g")"
}

# colons DIGITS: prints 12 digits as a MAC address.
colons() {
    echo "${1:0:2}:${1:2:2}:${1:4:2}:${1:6:2}:${1:8:2}:${1:10:2}"
}
