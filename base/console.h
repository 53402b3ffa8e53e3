// SPDX-License-Identifier: MIT
// The console device, to which the debug log goes.
#ifndef BASE_CONSOLE_H
#define BASE_CONSOLE_H

#include "base/resource.h"

// Opens the console for one line. Empty: it can't be opened.
File open_console();

#endif
