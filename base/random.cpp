// SPDX-License-Identifier: MIT
#include "base/random.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "base/resource.h"

namespace {

// Kernels before 3.17, and headers as old, know the device only.
#ifdef SYS_getrandom
long ask_kernel(void *bytes, size_t size) {
    constexpr unsigned kNotWaiting = 1;  // GRND_NONBLOCK, which older headers lack
    return syscall(SYS_getrandom, bytes, size, kNotWaiting);
}
#else
long ask_kernel(void * /*bytes*/, size_t /*size*/) {
    errno = ENOSYS;
    return -1;
}
#endif

// What stands there may be a file that the firmware's maker has had in the image: the same bytes on every router.
bool read_device(void *bytes, size_t size) {
    const Descriptor device(open("/dev/urandom", O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    struct stat status;
    if (!device || fstat(device.get(), &status) != 0) {
        return false;
    }
    if (!S_ISCHR(status.st_mode)) {
        errno = EACCES;
        return false;
    }
    return read(device.get(), bytes, size) == static_cast<ssize_t>(size);
}

// Early after its start the kernel has nothing yet. It is waited for as long as for a program.
bool wait_for_kernel() {
    constexpr timespec kPause = {0, 50'000'000};
    static int pauses_left = 200;
    if (pauses_left == 0) {
        return false;
    }
    --pauses_left;
    nanosleep(&kPause, nullptr);
    return true;
}

}  // namespace

bool read_random(void *bytes, size_t size) {
    long count;
    do {
        count = ask_kernel(bytes, size);
    } while (count < 0 && (errno == EINTR || (errno == EAGAIN && wait_for_kernel())));
    return count == static_cast<long>(size) || (count < 0 && errno == ENOSYS && read_device(bytes, size));
}
