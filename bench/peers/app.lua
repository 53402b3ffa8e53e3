#!/bin/lua5.4
-- SPDX-License-Identifier: MIT
-- The object "app" as a Lua CGI would serve it, to compare with: app.lua [--no-store]
-- The store is reached through the flash command. --no-store: not at all, which is what starting Lua costs anyway.
local json = require "cjson"

local store = arg[1] ~= "--no-store"

local function flash(arguments)
    if not store then return "" end
    local output = io.popen("flash " .. arguments)
    local text = output:read "a"
    output:close()
    return text:match "=([^\n]*)" or ""
end

local function fail(code, message)
    print(json.encode { action = "loginRsp", result = { error = code, msg = message } })
    os.exit(255)
end

local request = json.decode(io.read(tonumber(os.getenv "CONTENT_LENGTH")))
local session = io.open "/var/app_sessionid"
if not session or session:read "a" ~= "sessionid=" .. tostring(request.sessionid) then fail(6, "need login") end

local reply = { action = request.action .. "Rsp", result = { error = 0 } }
if request.action == "get" then
    reply.app = {
        port = tonumber(flash "get MIB_APP_PORT") or 0,
        ticktime = tonumber(flash "get MIB_APP_TICKTIME") or 0,
    }
else
    flash(("set MIB_APP_PORT %d"):format(request.app.port))
    flash(("set MIB_APP_TICKTIME %d"):format(request.app.ticktime))
    flash "commit"
    reply.app = "1"
end
print(json.encode(reply))
