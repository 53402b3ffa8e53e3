// SPDX-License-Identifier: MIT
// Lua for the machine: runs the script that is its first argument, behind the header line that a web server asks for.
#include <stdio.h>

#include "lauxlib.h"
#include "lua.h"
#include "lualib.h"

int luaopen_cjson(lua_State *lua);

int main(int count, char **words) {
    lua_State *lua = luaL_newstate();
    if (count < 2 || !lua) return 2;
    luaL_openlibs(lua);
    luaL_requiref(lua, "cjson", luaopen_cjson, 0);
    lua_newtable(lua);
    for (int i = 2; i < count; ++i) {
        lua_pushstring(lua, words[i]);
        lua_rawseti(lua, -2, i - 1);
    }
    lua_setglobal(lua, "arg");
    fputs("Content-Type: application/json\r\n\r\n", stdout);
    if (luaL_dofile(lua, words[1]) == LUA_OK) return 0;
    fprintf(stderr, "%s\n", lua_tostring(lua, -1));
    return 1;
}
