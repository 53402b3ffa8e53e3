// SPDX-License-Identifier: MIT
#include "gateway/handler/reply.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

#include "base/json.h"
#include "base/output.h"
#include "base/report.h"
#include "base/shortage.h"

namespace {

bool g_lost = false;

}  // namespace

void print_reply_text(OwnedText text) {
    const size_t length = strlen(text.get());
    text.get()[length] = '\n';  // in place of the terminator, so that text and line feed leave in one write
    // A phone that hangs up must not cost the commit that it asked for. The commands that follow get the default back.
    const auto handler = signal(SIGPIPE, SIG_IGN);
    if (!write_all(STDOUT_FILENO, text.get(), length + 1)) {
        report_error("the reply cannot be written");
        g_lost = true;
    }
    signal(SIGPIPE, handler);
}

void print_reply(Json reply) {
    OwnedText text(cJSON_Print(reply.get()));
    if (!text || was_short()) {
        report("out of memory: there is no reply");
        g_lost = true;
        return;
    }
    print_reply_text(std::move(text));
}

bool reply_is_lost() {
    return g_lost || was_short();
}

void echo_guid(const cJSON *request, cJSON *reply) {
    const char *guid = find_text(request, "guid");
    if (guid != nullptr) {
        cJSON_AddStringToObject(reply, "guid", guid);
    }
}
