// SPDX-License-Identifier: MIT
// The device is written to if it is there: no file is made or emptied for it, and no link is followed.
#include "base/console.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/product.h"

File open_console() {
    Descriptor console(open(PRODUCT_CONSOLE, O_RDWR | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (!console || fstat(console.get(), &status) != 0 || S_ISREG(status.st_mode)) {
        return File();
    }
    File file(fdopen(console.get(), "w"));
    if (file) {
        console.release();
    }
    return file;
}
