// SPDX-License-Identifier: MIT
// As the protocol has it: what is not there is made, and what is a file is emptied.
#include "base/console.h"

#include "platform/product.h"

File open_console() {
    return File(fopen(PRODUCT_CONSOLE, "w+"));
}
