# shellcheck shell=sh disable=SC3057  # the router's shell cuts strings
# Entries of the store's tables, as `flash` prints them: two hexadecimal digits for each byte, entries with commas between.

# entries TABLE: prints the entries, one word each.
entries() {
    echo "$1" | tr ',' ' '
}

# entry_bytes ENTRY OFFSET SIZE: prints the bytes' digits.
entry_bytes() {
    echo "${1:$(($2 * 2)):$(($3 * 2))}"
}

# entry_number ENTRY OFFSET: prints an unsigned number of 4 bytes, the low byte first.
entry_number() {
    echo $((0x${1:$(($2 * 2 + 6)):2}${1:$(($2 * 2 + 4)):2}${1:$(($2 * 2 + 2)):2}${1:$(($2 * 2)):2}))
}

# entry_address ENTRY OFFSET: prints an IPv4 address.
entry_address() {
    number_to_address $((0x${1:$(($2 * 2)):8}))
}

# entry_text ENTRY OFFSET SIZE: prints a text up to its NUL, with "?" for control characters.
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
