// SPDX-License-Identifier: MIT
#include "gateway/actions.h"

#include <cstring>

#include "gateway/dispatch.h"
#include "login/login.h"
#include "objects/diagnostics.h"

// Columns: name, handler, open to guests.
const ActionRow ActionTable[] = {
    {"scan",  app_action_scan,            true },
    {"set",   app_set_parameters_handler, false},
    {"get",   app_get_parameters_handler, false},
    {"login", app_action_login,           true },
    {nullptr, nullptr,                    false},
};

const ActionRow &find_action(const char *name) {
    const ActionRow *row = ActionTable;
    while (row->handler != nullptr && (name == nullptr || strcmp(row->name, name) != 0)) {
        ++row;
    }
    return *row;
}
