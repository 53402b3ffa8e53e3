// SPDX-License-Identifier: MIT
// Filters of the kernel's, which the process and all that it starts keep: of the system calls those remain that
// cmake/system_calls.conf lists. A kernel without filters leaves the process as it is.
//
// A second filter narrows the first; of two the stricter counts.
#include "gateway/confinement.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

constexpr uint32_t kPassing[] = {
#include <system_calls.inc>  // which CMake makes of cmake/system_calls.conf
};

// Those of them that only programs need, and what runs them.
constexpr uint32_t kOfPrograms[] = {
#include <system_calls_of_programs.inc>
};

constexpr sock_filter statement(uint16_t code, uint32_t value) {
    return {code, 0, 0, value};
}

// Goes on with what is next, or skips so many if it does not hold.
constexpr sock_filter unless_skip(uint16_t test, uint32_t value, uint8_t count) {
    return {static_cast<uint16_t>(BPF_JMP | test | BPF_K), 0, count, value};
}

constexpr sock_filter kLoadArchitecture = statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch));
constexpr sock_filter kLoadNumber = statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
constexpr sock_filter kPass = statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);

constexpr sock_filter refuse(uint32_t error) {
    return statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error);
}

// An argument has 64 bits, of which an instruction reads one half. Flags and numbers lie in the lower one.
enum class Half { kLower, kUpper };

constexpr sock_filter load_argument(uint32_t index, Half half = Half::kLower) {
    constexpr uint32_t kArguments = offsetof(seccomp_data, args);
    constexpr Half kFirst = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? Half::kUpper : Half::kLower;
    return statement(BPF_LD | BPF_W | BPF_ABS, kArguments + 8 * index + (half == kFirst ? 0 : 4));
}

// Numbers of system calls as runs: where one begins, where it has ended, where the next begins, and so on. The kernel
// tries a filter with every number when it takes it, and asks it at every call: looking each number up by itself would
// cost a request some 200 us.
template <size_t Count>
struct Runs {
    uint32_t bounds[2 * Count] = {};
    size_t count = 0;

    constexpr explicit Runs(const uint32_t (&calls)[Count]) {
        uint32_t sorted[Count] = {};
        for (size_t i = 0; i < Count; ++i) {
            size_t at = i;
            for (; at > 0 && sorted[at - 1] > calls[i]; --at) {
                sorted[at] = sorted[at - 1];
            }
            sorted[at] = calls[i];
        }
        for (const uint32_t call : sorted) {
            const uint32_t end = count > 0 ? bounds[count - 1] : 0;
            if (count > 0 && end == call) {
                ++bounds[count - 1];
            } else if (count == 0 || end < call) {  // else it is there already, by another name
                bounds[count++] = call;
                bounds[count++] = call + 1;
            }
        }
    }
};

// A filter under construction.
template <size_t Length>
struct Filter {
    sock_filter program[Length] = {};
    size_t length = 0;
    bool reaches = true;  // whether each jump ends where it should

    constexpr void add(sock_filter instruction) { program[length++] = instruction; }

    constexpr void begin() {
        add(kLoadArchitecture);  // another processor's calls have other numbers
        add({BPF_JMP | BPF_JEQ | BPF_K, 1, 0, SYSTEM_CALLS_ARCH});
        add(statement(BPF_RET | BPF_K, SECCOMP_RET_KILL));
        add(kLoadNumber);
    }

    constexpr void decide(uint32_t call, sock_filter decision) {
        add(unless_skip(BPF_JEQ, call, 1));
        add(decision);
    }

    // Ends the filter: one decision on the numbers in the runs, and another on those between them. Halves what is left
    // of the bounds with each step.
    template <size_t Count>
    constexpr void decide_runs(const Runs<Count> &runs, sock_filter inside, sock_filter outside) {
        decide_between(runs.bounds, 0, runs.count, inside, outside);
    }

    // The same for numbers of which is known that they lie behind the bound before `first`, and before that at `last`.
    constexpr void decide_between(const uint32_t *bounds, size_t first, size_t last, sock_filter inside,
                                  sock_filter outside) {
        if (first == last) {
            add(first % 2 == 1 ? inside : outside);
            return;
        }
        const size_t middle = first + (last - first) / 2;
        const size_t choice = length++;
        decide_between(bounds, first, middle, inside, outside);
        const size_t skipped = length - choice - 1;
        reaches = reaches && skipped <= UINT8_MAX;
        program[choice] = {BPF_JMP | BPF_JGE | BPF_K, static_cast<uint8_t>(skipped), 0, bounds[middle]};
        decide_between(bounds, middle + 1, last, inside, outside);
    }

    // Refuses a call of whose argument a mask leaves one of these.
    template <size_t Count>
    constexpr void refuse_among(uint32_t call, uint32_t argument, const uint32_t (&values)[Count],
                                uint32_t mask = ~0U) {
        add(unless_skip(BPF_JEQ, call, 4 + Count));
        add(load_argument(argument));
        add(statement(BPF_ALU | BPF_AND | BPF_K, mask));
        for (size_t i = 0; i < Count; ++i) {
            const uint8_t left = static_cast<uint8_t>(Count - i - 1);
            add({BPF_JMP | BPF_JEQ | BPF_K, left, static_cast<uint8_t>(left == 0 ? 1 : 0), values[i]});
        }
        add(refuse(EPERM));
        add(kLoadNumber);
    }

    // Refuses a call whose argument is anything but zero, such as an address.
    constexpr void refuse_unless_zero(uint32_t call, uint32_t argument) {
        constexpr uint32_t kAny = ~0U;
        add(unless_skip(BPF_JEQ, call, 6));
        add(load_argument(argument, Half::kUpper));
        add({BPF_JMP | BPF_JSET | BPF_K, 2, 0, kAny});
        add(load_argument(argument));
        add(unless_skip(BPF_JSET, kAny, 1));
        add(refuse(EPERM));
        add(kLoadNumber);
    }

    // Refuses sockets but those of some families.
    template <size_t Count>
    constexpr void refuse_sockets_but(const uint32_t (&families)[Count]) {
        add(unless_skip(BPF_JEQ, SYS_socket, 3 + Count));
        add(load_argument(0));
        for (size_t i = 0; i < Count; ++i) {
            add({BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint8_t>(Count - i), 0, families[i]});
        }
        add(refuse(EPERM));
        add(kLoadNumber);
    }

    // Refuses a call whose argument is this (BPF_JEQ), or has one of these bits (BPF_JSET).
    constexpr void refuse_where(uint32_t call, uint32_t argument, uint16_t test, uint32_t value) {
        add(unless_skip(BPF_JEQ, call, 4));
        add(load_argument(argument));
        add(unless_skip(test, value, 1));
        add(refuse(EPERM));
        add(kLoadNumber);
    }
};

// Name spaces of its own would give a process rights in them, and all of the kernel to try them on.
constexpr uint32_t kNewSpaces = 0x7e020000;  // of CLONE_NEWNS and its like, those too that older headers lack

constexpr uint32_t kFamilies[] = {AF_UNIX, AF_INET, AF_INET6, AF_NETLINK};

// An interface's address is asked over any socket; a router that is played gives one of the machine for one of IPv4. By
// neither anything gets out while nothing can be connected, but over one of AF_NETLINK a write() changes routes.
constexpr uint32_t kFamiliesOfGuests[] = {AF_UNIX, AF_INET};

#ifdef SYS_ipc
// What ipc() is to do, in the lower half of its first argument. The C libraries' headers do not name it.
constexpr uint32_t kIpcCalls = 0xffff;
constexpr uint32_t kIpcOfQueues[] = {11, 12, 13, 14};  // msgsnd(), msgrcv(), msgget(), msgctl()
#endif

// By these the kernel is made to send signals, of a kind and to a process that are chosen freely, when a file is ready.
constexpr uint32_t kSignalsOfFiles[] = {F_SETOWN, F_SETSIG, F_SETOWN_EX};
constexpr uint32_t kSignalsOfSockets[] = {FIOSETOWN, SIOCSPGRP};

// Typing at the terminal of who has started the process, and pasting there.
constexpr uint32_t kTyping[] = {TIOCSTI, TIOCLINUX};

constexpr auto make_filter() {
    Filter<32 + 4 * std::size(kPassing)> filter;
    filter.begin();
#ifdef SYS_clone3
    filter.decide(SYS_clone3, refuse(ENOSYS));  // its flags are out of sight; the C library takes clone() then
#endif
    filter.refuse_where(SYS_clone, 0, BPF_JSET, kNewSpaces);
    filter.refuse_among(SYS_ioctl, 1, kTyping);
    filter.refuse_sockets_but(kFamilies);
    filter.decide_runs(Runs(kPassing), kPass, refuse(EPERM));
    return filter;
}

constexpr auto make_guest_filter() {
    Filter<128 + 4 * std::size(kOfPrograms)> filter;
    filter.begin();
    // No code but what is there.
#ifdef __i386__
    filter.decide(SYS_mmap, refuse(EPERM));  // what it is asked for is out of sight; the C library takes mmap2()
#elif defined(SYS_mmap)
    filter.refuse_where(SYS_mmap, 2, BPF_JSET, PROT_EXEC);
#endif
#ifdef SYS_mmap2
    filter.refuse_where(SYS_mmap2, 2, BPF_JSET, PROT_EXEC);
#endif
    filter.refuse_where(SYS_mprotect, 2, BPF_JSET, PROT_EXEC);
#ifdef SYS_shmat
    filter.refuse_where(SYS_shmat, 2, BPF_JSET, SHM_EXEC);
#endif
#ifdef SYS_ipc
    filter.refuse_where(SYS_ipc, 2, BPF_JSET, SHM_EXEC);  // the same in the place of the other, on some processors
    filter.refuse_among(SYS_ipc, 0, kIpcOfQueues, kIpcCalls);
#endif
#ifdef SYS_prlimit64
    filter.refuse_unless_zero(SYS_prlimit64, 2);  // a limit is told, but from no address is one set
#endif
    // No signal to others by way of a file, and nothing sent to an address: only to who is connected already.
#ifdef SYS_fcntl
    filter.refuse_among(SYS_fcntl, 1, kSignalsOfFiles);
#endif
#ifdef SYS_fcntl64
    filter.refuse_among(SYS_fcntl64, 1, kSignalsOfFiles);
#endif
    filter.refuse_among(SYS_ioctl, 1, kSignalsOfSockets);
    filter.refuse_unless_zero(SYS_sendto, 4);
    filter.refuse_sockets_but(kFamiliesOfGuests);
    filter.decide_runs(Runs(kOfPrograms), refuse(EPERM), kPass);
    return filter;
}

constexpr auto kFilter = make_filter();
constexpr auto kGuestFilter = make_guest_filter();
static_assert(kFilter.reaches && kGuestFilter.reaches, "a jump is one byte");

template <size_t Length>
void put_on(const Filter<Length> &filter) {
    // The interface's type is not const, but the kernel only reads.
    const sock_fprog program = {static_cast<unsigned short>(filter.length), const_cast<sock_filter *>(filter.program)};
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

}  // namespace

void confine_process() {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) {
        put_on(kFilter);
    }
}

void confine_guest() {
    put_on(kGuestFilter);
}
