// SPDX-License-Identifier: MIT
#include "gateway/dispatch.h"
#include "gateway/handler/objects.h"

#define BOTH(name, get, set) {name, get, set},
#define GETTER(name, get) {name, get, nullptr},
#define SETTER(name, set) {name, nullptr, set},

const ObjectRow ObjectHandlerTable[] = {
    OBJECTS(BOTH, GETTER, SETTER){"", nullptr, nullptr}
};
