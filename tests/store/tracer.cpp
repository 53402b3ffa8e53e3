// SPDX-License-Identifier: MIT
#include "tests/store/tracer.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace {

int status_of(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

long request(__ptrace_request what, pid_t process, size_t address, void *data) {
    return ptrace(what, process, address, data);
}

SystemCall read_stop(pid_t process) {
    __ptrace_syscall_info info = {};
    if (request(PTRACE_GET_SYSCALL_INFO, process, sizeof(info), &info) < 0) {
        throw std::runtime_error("a stop can't be read");
    }
    SystemCall call = {};
    call.entry = info.op == PTRACE_SYSCALL_INFO_ENTRY;
    if (call.entry) {
        call.number = info.entry.nr;
        for (int i = 0; i < 6; i++) {
            call.arguments[i] = info.entry.args[i];
        }
    } else {
        call.result = info.exit.rval;
    }
    return call;
}

}  // namespace

bool stop_for_tracer() {
    return request(PTRACE_TRACEME, 0, 0, nullptr) == 0 && raise(SIGSTOP) == 0;
}

int trace(pid_t process, const std::function<bool(const SystemCall &)> &look) {
    int status = 0;
    waitpid(process, &status, 0);
    if (!WIFSTOPPED(status)) {
        return status_of(status);
    }
    // System calls stop with a signal's number of their own, and a tracer that dies takes the process with it.
    request(PTRACE_SETOPTIONS, process, 0,
            reinterpret_cast<void *>(static_cast<size_t>(PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL)));
    size_t signal = 0;
    for (;;) {
        request(PTRACE_SYSCALL, process, 0, reinterpret_cast<void *>(signal));
        waitpid(process, &status, 0);
        if (!WIFSTOPPED(status)) {
            return status_of(status);
        }
        signal = 0;
        if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
            if (!look(read_stop(process))) {
                kill(process, SIGKILL);
            }
        } else if (WSTOPSIG(status) != SIGTRAP) {
            signal = static_cast<size_t>(WSTOPSIG(status));  // the process's own; a SIGTRAP is that of its exec
        }
    }
}

std::string read_memory(pid_t process, unsigned long address, size_t size) {
    std::string bytes(size, '\0');
    iovec local = {bytes.data(), size};
    iovec remote = {reinterpret_cast<void *>(address), size};
    ssize_t count = process_vm_readv(process, &local, 1, &remote, 1, 0);
    bytes.resize(count < 0 ? 0 : static_cast<size_t>(count));
    return bytes;
}
