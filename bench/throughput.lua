-- SPDX-License-Identifier: MIT
-- What wrk asks and how it counts: wrk -t 1 -s throughput.lua URL -- SESSION EXPECTED [EVERY]
--
-- Each request is a get of "app"; every EVERYth one in place of it is a set that has the system daemon build the firewall anew.
-- A reply counts as good when it holds EXPECTED or, for a set, reports no error. Prints one line: good replies, requests
-- sent, other replies, errors of sockets, seconds, 50th and 99th percentile of the time to a reply in microseconds.
local threads = {}

function setup(thread)
    table.insert(threads, thread)
end

function init(arguments)
    sent, good, other = 0, 0, 0
    expected, every = arguments[2], tonumber(arguments[3] or 0)
    local function post(object)
        return wrk.format("POST", nil, nil, ('{"action":"%s","sessionid":"%s",%s}'):format(object[1], arguments[1], object[2]))
    end
    get = post { "get", '"app":{}' }
    set = post { "set", '"urlfilter":{"enable":0,"mode":0}' }
end

function request()
    sent = sent + 1
    return every > 0 and sent % every == 0 and set or get
end

function response(status, headers, body)
    if status == 200 and (body:find(expected, 1, true) or body:find('"error":\t0\n', 1, true)) then
        good = good + 1
    else
        other = other + 1
    end
end

function done(summary, latency)
    local thread = threads[1]
    local errors = summary.errors
    print(("counted %d %d %d %d %.3f %d %d"):format(thread:get "good", thread:get "sent", thread:get "other",
        errors.connect + errors.read + errors.write + errors.timeout, summary.duration / 1e6,
        latency:percentile(50), latency:percentile(99)))
end
