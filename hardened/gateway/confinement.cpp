// SPDX-License-Identifier: MIT
// A filter of the kernel's, which the process and all that it starts keep: of the system calls those remain that
// cmake/system_calls.conf lists. A kernel without filters leaves the process as it is.
#include "gateway/confinement.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

constexpr uint32_t kPassing[] = {
#include <system_calls.inc>  // which CMake makes of cmake/system_calls.conf
};
constexpr size_t kCount = std::size(kPassing);

// Another processor's calls have other numbers; then each call, and what follows when it is none of them.
constexpr size_t kHead = 4;
constexpr size_t kLength = kHead + 2 * kCount + 1;
static_assert(kLength <= BPF_MAXINSNS, "the kernel takes no longer filter");

constexpr sock_filter statement(uint16_t code, uint32_t value) {
    return {code, 0, 0, value};
}

constexpr sock_filter skip_unless_equal(uint32_t value) {
    return {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, value};
}

struct Filter {
    sock_filter program[kLength] = {};
    constexpr Filter() {
        size_t at = 0;
        program[at++] = statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch));
        program[at++] = {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, SYSTEM_CALLS_ARCH};
        program[at++] = statement(BPF_RET | BPF_K, SECCOMP_RET_KILL);
        program[at++] = statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
        for (const uint32_t call : kPassing) {
            program[at++] = skip_unless_equal(call);
            program[at++] = statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
        }
        program[at++] = statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM);
    }
};

constexpr Filter kFilter;

}  // namespace

void confine_process() {
    // The interface's type is not const, but the kernel only reads.
    const sock_fprog filter = {kLength, const_cast<sock_filter *>(kFilter.program)};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) {
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
    }
}
