// SPDX-License-Identifier: MIT
#include "gateway/handler/reply.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

#include "base/json.h"
#include "base/output.h"
#include "base/report.h"
#include "base/shortage.h"
#include "base/text.h"
#include "gateway/handler/reply_bytes.h"

namespace {

bool g_lost = false;
bool g_headers = false;
bool g_begun = false;  // a reply was handed to the web server, if only in part

// Header lines and the empty line that ends them, for a reply of so many bytes.
struct Head {
    char text[160] = {};
    explicit Head(size_t length) {
        join(text, {"Status: 200 OK\r\nContent-Type: application/json\r\nContent-Length: ",
                    Decimal(static_cast<long long>(length)).c_str(), "\r\nCache-Control: no-store\r\n\r\n"});
    }
};

// The header lines of what is no reply. A status without content has no length either.
constexpr char kNoContent[] = "Status: 204 No Content\r\nCache-Control: no-store\r\n\r\n";
constexpr char kBadRequest[] =
    "Status: 400 Bad Request\r\nContent-Type: application/json\r\nContent-Length: 0\r\nCache-Control: no-store\r\n\r\n";
constexpr char kUnavailable[] =
    "Status: 503 Service Unavailable\r\nContent-Type: application/json\r\nContent-Length: 0\r\n"
    "Cache-Control: no-store\r\n\r\n";

// A phone that hangs up must not cost the commit that it asked for. The commands that follow get the default back.
class HangUpIgnored {
  public:
    HangUpIgnored() : handler_(signal(SIGPIPE, SIG_IGN)) {}
    ~HangUpIgnored() { signal(SIGPIPE, handler_); }
    HangUpIgnored(const HangUpIgnored &) = delete;
    HangUpIgnored &operator=(const HangUpIgnored &) = delete;

  private:
    void (*handler_)(int);
};

bool write_reply(const char *text, size_t length) {
    const HangUpIgnored ignored;
    g_begun = true;
    if (!g_headers) {
        return write_all(STDOUT_FILENO, text, length);
    }
    const Head head(length);
    return write_both(STDOUT_FILENO, head.text, strlen(head.text), text, length);
}

}  // namespace

void print_reply_headers() {
    g_headers = true;
}

void print_reply_text(OwnedText text) {
    finish_reply_bytes(text.get());
    const size_t length = strlen(text.get());
    text.get()[length] = '\n';  // in place of the terminator, so that text and line feed leave in one write
    if (!write_reply(text.get(), length + 1)) {
        report_error("the reply cannot be written");
        g_lost = true;
    }
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

void print_missing_reply(bool served) {
    if (!g_headers || g_begun) {
        return;
    }
    const char *head = reply_is_lost() ? kUnavailable : served ? kNoContent : kBadRequest;
    const HangUpIgnored ignored;
    write_all(STDOUT_FILENO, head, strlen(head));
}

void lose_reply() {
    g_lost = true;
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
