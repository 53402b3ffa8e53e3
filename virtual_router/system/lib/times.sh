# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# Times of the router's clock, which is UTC: seconds since the epoch, seconds of a day, and days of a week as the store has
# them, seven bits of which the highest is Sunday.

readonly day_seconds=86400

# now: gives variables the time and what it is made of.
# shellcheck disable=SC2034  # read by the commands
now() {
    now_seconds=$(date +%s)
    now_of_day=$((now_seconds % day_seconds))
    now_midnight=$((now_seconds - now_of_day))
    now_weekday=$(((now_seconds / day_seconds + 4) % 7)) # the epoch was a Thursday
}

# has_weekday MASK WEEKDAY: succeeds if the mask, a number, has the weekday, of which Sunday is 0. It may be one of the
# next or the last week.
has_weekday() {
    [ $(($1 >> (6 - ($2 + 7) % 7) & 1)) -ne 0 ]
}

# time_of_day HHMMSS: prints the second of the day. Fails if it is none.
time_of_day() {
    case "$1" in
    [01][0-9][0-5][0-9][0-5][0-9] | 2[0-3][0-5][0-9][0-5][0-9]) ;;
    *) return 1 ;;
    esac
    time_of_day_hour=${1%????} time_of_day_rest=${1#??}
    time_of_day_minute=${time_of_day_rest%??} time_of_day_second=${time_of_day_rest#??}
    # Without their leading zeros, which would make them octal.
    echo $((${time_of_day_hour#0} * 3600 + ${time_of_day_minute#0} * 60 + ${time_of_day_second#0}))
}

# run_at COMMAND SECONDS: has the system daemon run the command then; without the seconds, never. What is due already, and
# only waits for the daemon, is not put off.
run_at() {
    if [ -z "$2" ]; then
        rm -f "/var/run/at/$1"
        return
    fi
    mkdir -p /var/run/at
    run_at_due=$(cat "/var/run/at/$1" 2>/dev/null)
    if [ -n "$run_at_due" ] && [ "$run_at_due" -le "$(date +%s)" ]; then
        return
    fi
    echo "$2" >"/var/run/at.$1"
    mv "/var/run/at.$1" "/var/run/at/$1"
}
