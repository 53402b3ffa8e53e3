// SPDX-License-Identifier: MIT
// app.cgi: started by the web server, once for each request.

#include <cstdlib>
#include <utility>

#include "gateway/request.h"

int main() {
    OwnedText body;
    if (!receive_request(getenv("CONTENT_LENGTH"), body)) {
        return kNotServed;
    }
    const int status = answer_request(std::move(body), getenv("REMOTE_ADDR"));
    return status != 0 ? status : finish_request();
}
