# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# What is in force, for whoever stands around the router: a file of /var/run for each command that puts settings in force.

# in_force NAME: makes what it reads the content of the file. It is never seen half written, and nobody else's to read: keys
# may be in it.
in_force() {
    (umask 077 && cat >"/var/run/$1.new")
    mv "/var/run/$1.new" "/var/run/$1"
}
