// SPDX-License-Identifier: MIT
#include "gateway/limits.h"

#include <sys/resource.h>

#include <algorithm>

namespace {

constexpr int kLongestBody = 1 << 20;
#ifdef __SANITIZE_ADDRESS__
constexpr rlim_t kMemory = RLIM_INFINITY;  // its map of all addresses takes some
#else
constexpr rlim_t kMemory = 64 << 20;  // bytes of address space; the programs that it runs get no more
#endif
constexpr rlim_t kSeconds = 20;  // of the processor's time; a request takes a thousandth of one

// What is limited to less already stays so. The limit is the hard one, too: nobody can raise it, or ignore the signal
// that comes before it.
template <typename Resource>
void limit(Resource resource, rlim_t most) {
    rlimit limits;
    if (getrlimit(resource, &limits) == 0 && limits.rlim_max > most) {
        limits.rlim_cur = std::min(limits.rlim_cur, most);
        limits.rlim_max = most;
        setrlimit(resource, &limits);
    }
}

}  // namespace

int longest_body() {
    return kLongestBody;
}

void limit_process() {
    limit(RLIMIT_AS, kMemory);
    limit(RLIMIT_CPU, kSeconds);
    limit(RLIMIT_CORE, 0);  // in what a crash leaves behind are passwords
}
