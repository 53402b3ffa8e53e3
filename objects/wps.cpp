// SPDX-License-Identifier: MIT
// The object "wps": pairing by push button.

#include <cstdio>

#include "base/input.h"
#include "base/json.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "platform/product.h"
#include "programs/programs.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr int kButtonStart = 1;
constexpr int kButtonCancel = 0;

constexpr char kStatusPath[] = PRODUCT_WPS_STATUS;

}  // namespace

int app_get_wps_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *wps = cJSON_AddObjectToObject(reply, name);
    char status[5];  // four characters and the terminator
    if (!read_beginning(kStatusPath, status)) {
        perror("open " PRODUCT_WPS_STATUS " FAIL");
        return kFailed;
    }
    add_number(wps, "status", decimal_value(status));
    return 0;
}

int app_set_wps_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *wps = find_item(request, name);
    if (wps == nullptr) {
        return 0;
    }
    const cJSON *button = find_item(wps, "wpsbutton");
    if (button == nullptr) {
        return kFailed;
    }
    const int32_t mesh_role = store_get(MIB_MESH_ROLE);
    if (integer_value(button) == kButtonStart) {
        // With mesh on, it is the mesh that watches the button.
        mesh_role == kMeshOff ? press_wps_button() : press_mesh_button();
    } else if (integer_value(button) == kButtonCancel) {
        cancel_wps();
    }
    return 0;
}
