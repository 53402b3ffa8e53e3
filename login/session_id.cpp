// SPDX-License-Identifier: MIT
#include "login/session_id.h"

#include <ctime>

#include "base/debug_log.h"
#include "base/resource.h"
#include "login/md5.h"
#include "store/items.h"

namespace {
constexpr char kModule[] = "applogin";
constexpr size_t kLongestUser = sizeof(decltype(MIB_USER_NAME)::value_type::text) - 1;
constexpr size_t kLongestNumber = 11;  // a sign and ten digits
}  // namespace

int gen_sessionid(const char *user, Out out) {
    const int now = static_cast<int>(time(nullptr));
    DebugLog("t1=%d\n\n", now);
    char text[kLongestUser + kLongestNumber + 1];
    join(text, {user, Decimal(now).c_str()});
    const OwnedText digest(MD5_encryption(text));
    if (!digest) {
        return -1;
    }
    join(out, {"Us", digest.get()});
    return 0;
}
