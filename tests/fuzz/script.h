// SPDX-License-Identifier: MIT
// An input of the fuzzer: a text that says what the router is like and what is asked of it, in order.
//
// It is a row of sections. A section begins with a line "--- KIND NAME", and what follows up to the next such line is
// its content, any bytes. README.md lists the kinds. What stands in front of the first section, and what is no section,
// does nothing.
#ifndef TESTS_FUZZ_SCRIPT_H
#define TESTS_FUZZ_SCRIPT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Section {
    std::string kind;
    std::string name;
    std::string content;
};

using Script = std::vector<Section>;

Script parse_script(const uint8_t *data, size_t size);
std::string print_script(const Script &script);

// Brings the router into its first state: everything empty or zero, the account "admin" with the password "admin".
void reset_router();

// Does to the router what a section says. Sections that ask the endpoint for something, which are "body" and "call", do
// nothing here.
void apply(const Section &section);

#endif
