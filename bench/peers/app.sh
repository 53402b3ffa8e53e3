#!/bin/sh
# SPDX-License-Identifier: MIT
# The object "app" as a shell script with jq would serve it, to compare with.
set -eu

value() {
    line=$(flash get "$1")
    echo "${line#*=}"
}

assignments=$(head -c "$CONTENT_LENGTH" |
    jq -r '@sh "action=\(.action) session=\(.sessionid) port=\(.app.port) ticktime=\(.app.ticktime)"')
eval "$assignments"
read -r known </var/app_sessionid || true # the file has no line feed
if [ "$known" != "sessionid=${session:?}" ]; then
    echo '{"action":"loginRsp","result":{"error":6,"msg":"need login"}}'
    exit 255
fi

if [ "${action:?}" = get ]; then
    jq -n --tab --argjson port "$(value MIB_APP_PORT)" --argjson ticktime "$(value MIB_APP_TICKTIME)" \
        '{action: "getRsp", result: {error: 0}, app: {port: $port, ticktime: $ticktime}}'
else
    flash set MIB_APP_PORT "${port:?}"
    flash set MIB_APP_TICKTIME "${ticktime:?}"
    flash commit
    jq -n --tab '{action: "setRsp", app: "1", result: {error: 0}}'
fi
