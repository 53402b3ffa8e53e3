// SPDX-License-Identifier: MIT
#include "gateway/handler/request_state.h"

#include <cstdarg>
#include <cstdio>

char err_msg[1024];
const char *client_address = nullptr;
int save_config_flag = 0;
int app_reinit_flag = 0;
int wifi_reinit_flag = 0;
int lan_reinit_flag = 0;
int wan_reinit_flag = 0;

int fail(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(err_msg, sizeof err_msg, format, arguments);
    va_end(arguments);
    return kFailed;
}
