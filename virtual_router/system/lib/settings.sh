# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# The configuration store for the router's commands.

# settings NAME...: gives a variable of each item's name the item's value, as `flash` prints it.
settings() {
    settings_names=$(IFS='|' && echo "$*")
    eval "$(flash all | sed -En "s/'/'\\\\''/g; s/^($settings_names)=(.*)/\\1='\\2'/p")"
}

# copy_setting FROM TO: writes the value of one item, which `settings` has read, to another. What `flash` prints escaped
# it takes plain.
copy_setting() {
    eval "copy_setting_value=\$$1"
    copy_setting_value=$(printf '%b.' "$copy_setting_value")
    flash set "$2" "${copy_setting_value%.}"
}
