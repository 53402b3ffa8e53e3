// SPDX-License-Identifier: MIT
// Files that are cut or noisy: the program gets another file in the place of the one that it opened.
#undef _FORTIFY_SOURCE  // with it, the C library's headers bring functions of their own under the names that are played
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

#include "virtual_router/driver/next.h"
#include "virtual_router/tap/tap.h"

namespace {

constexpr char kFolder[] = "/tmp";
constexpr char kNoise[] = "noise";
constexpr size_t kMostTold = 16 << 10;
constexpr size_t kMostContent = 1 << 20;
constexpr unsigned kNoisyOneIn = 16;  // bytes; the first is, whatever its file's size

FILE *(*next_fdopen)(int, const char *);
int (*next_fileno)(FILE *);

// The same numbers from the same seed, on every machine.
class Chance {
  public:
    explicit Chance(unsigned seed) : state_(seed * 2654435769U + 1) {}
    unsigned draw() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }

  private:
    unsigned state_;
};

// Writes the beginning of a file, of that size, to another.
bool copy(int from, int to, size_t size, bool noisy, unsigned seed) {
    Chance chance(seed);
    bool first = true;
    unsigned char bytes[4096];
    while (size > 0) {
        const ssize_t got = syscall(SYS_read, from, bytes, size < sizeof bytes ? size : sizeof bytes);
        if (got <= 0) {
            return got == 0;
        }
        for (ssize_t i = 0; noisy && i < got; ++i) {
            if (first || chance.draw() % kNoisyOneIn == 0) {
                bytes[i] = static_cast<unsigned char>(bytes[i] ^ (1 + chance.draw() % 255));
                first = false;
            }
        }
        if (syscall(SYS_write, to, bytes, got) != got) {
            return false;
        }
        size -= static_cast<size_t>(got);
    }
    return true;
}

// Its size is known by reading it only: files of /proc tell none.
size_t size_of(int file) {
    size_t size = 0;
    char bytes[4096];
    for (ssize_t got; size < kMostContent && (got = syscall(SYS_read, file, bytes, sizeof bytes)) > 0;) {
        size += static_cast<size_t>(got);
    }
    syscall(SYS_lseek, file, 0, SEEK_SET);
    return size;
}

// A file without a name that has the altered content; -1: it cannot be made.
int altered(int file, const Fault &fault) {
    const auto made = static_cast<int>(syscall(SYS_openat, AT_FDCWD, kFolder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (made < 0) {
        return -1;
    }
    const bool noisy = strcmp(fault.how, kNoise) == 0;
    const size_t size = size_of(file);
    if (!copy(file, made, noisy ? size : size / 2, noisy, fault.seed)) {
        syscall(SYS_close, made);
        return -1;
    }
    syscall(SYS_lseek, made, 0, SEEK_SET);
    return made;
}

}  // namespace

namespace tap {

int with_content(const char *path, int file) {
    const Fault *fault = file >= 0 ? strike(Call::kContent, path) : nullptr;
    const int instead = fault != nullptr ? altered(file, *fault) : -1;
    if (instead < 0) {
        return file;
    }
    syscall(SYS_close, file);
    return instead;
}

void tell_content(int file) {
    char text[kMostTold];
    const ssize_t size = file < 0 ? -1 : syscall(SYS_pread64, file, text, sizeof text, 0);
    if (size >= 0) {
        tell_text(Event::kHolds, text, static_cast<size_t>(size));
    }
}

void tell_content(FILE *stream) {
    tell_content(stream != nullptr ? next("fileno", next_fileno)(stream) : -1);
}

FILE *with_content(const char *path, FILE *stream) {
    const Fault *fault = stream != nullptr ? strike(Call::kContent, path) : nullptr;
    const int instead = fault != nullptr ? altered(next("fileno", next_fileno)(stream), *fault) : -1;
    FILE *const other = instead >= 0 ? next("fdopen", next_fdopen)(instead, "r") : nullptr;
    if (other == nullptr) {
        return stream;
    }
    fclose(stream);
    return other;
}

}  // namespace tap
