// SPDX-License-Identifier: MIT
#include "base/random.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "base/resource.h"

namespace {

// Kernels before 3.17, and headers as old, know the device only.
#ifdef SYS_getrandom
long ask_kernel(void *bytes, size_t size) {
    return syscall(SYS_getrandom, bytes, size, 0);
}
#else
long ask_kernel(void * /*bytes*/, size_t /*size*/) {
    errno = ENOSYS;
    return -1;
}
#endif

bool read_device(void *bytes, size_t size) {
    const Descriptor device(open("/dev/urandom", O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return device && read(device.get(), bytes, size) == static_cast<ssize_t>(size);
}

}  // namespace

bool read_random(void *bytes, size_t size) {
    long count;
    do {
        count = ask_kernel(bytes, size);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<long>(size) || (count < 0 && errno == ENOSYS && read_device(bytes, size));
}
