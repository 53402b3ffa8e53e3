// SPDX-License-Identifier: MIT
// app.cgi: started by the web server, once for each request.

#include <cstdlib>
#include <utility>

#include "gateway/handler/reply.h"
#include "gateway/request.h"

namespace {

#ifdef CGI_HEADERS
constexpr bool kHeaders = true;
#else
constexpr bool kHeaders = false;  // the web server passes a reply on as it is
#endif

int answer() {
    OwnedText body;
    return receive_request(getenv("CONTENT_LENGTH"), BodyEnd::kEndOfFile, body)
               ? answer_request(std::move(body), getenv("REMOTE_ADDR"))
               : kNotServed;
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
