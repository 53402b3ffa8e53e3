// SPDX-License-Identifier: MIT
// app.cgi: started by the web server, once for each request.

#include <cstdlib>
#include <utility>

#include "gateway/handler/reply.h"
#include "gateway/limits.h"
#include "gateway/request.h"

namespace {

#ifdef CGI_HEADERS
constexpr bool kHeaders = true;
#else
constexpr bool kHeaders = false;  // the web server passes a reply on as it is
#endif

int answer() {
    OwnedText body;
    begin_waiting_for_request();
    const bool received = receive_request(getenv("CONTENT_LENGTH"), end_of_body(), body);
    end_waiting_for_request();
    return received ? answer_request(std::move(body), getenv("REMOTE_ADDR")) : kNotServed;
}

}  // namespace

int main() {
    if constexpr (kHeaders) {
        print_reply_headers();
    }
    const int status = answer();
    print_missing_reply(status == 0);
    return status != 0 ? status : finish_request();
}
