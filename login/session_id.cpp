#include "login/session_id.h"

#include <ctime>

#include "base/debug_log.h"
#include "base/resource.h"
#include "login/md5.h"

namespace {
constexpr char kModule[] = "applogin";
constexpr size_t kLongestUser = 64;    // twice what the store's item holds
constexpr size_t kLongestNumber = 11;  // a sign and ten digits
}  // namespace

int gen_sessionid(const char *user, Out out) {
    const int now = static_cast<int>(time(nullptr));
    DebugLog("t1=%d\n\n", now);
    char seed[kLongestUser + kLongestNumber + 1];
    put(seed, "%s%d", user, now);
    const OwnedText digest(MD5_encryption(seed));
    if (!digest) {
        return -1;
    }
    put(out, "Us%s", digest.get());
    return 0;
}
