#!/bin/sh
# SPDX-License-Identifier: MIT
# What OpenWrt's build runs on the installed package: test.sh PACKAGE VERSION.
[ "$1" = router-endpoint ] || exit 0
grep -q "\"name\":\"router-endpoint\",\"version\":\"${2%%-*}\"" /web/app/app.cgi
