// SPDX-License-Identifier: MIT
// Text that came from outside, made fit for a person's terminal.
#ifndef VIRTUAL_ROUTER_CONSOLE_PRINTABLE_H
#define VIRTUAL_ROUTER_CONSOLE_PRINTABLE_H

#include <string>
#include <string_view>

// Returns `text` with every byte that is neither printable ASCII nor part of a printable UTF-8 character written as
// \xNN, and each character of `quoted` with a backslash before it. Nothing in the result can command a terminal.
std::string printable(std::string_view text, std::string_view quoted = "");

#endif
