// SPDX-License-Identifier: MIT
// What a target of the fuzzer supplies: a program is one target, the router and what follows here.
#ifndef TESTS_FUZZ_TARGET_H
#define TESTS_FUZZ_TARGET_H

#include <cjson/cJSON.h>

#include <initializer_list>
#include <memory>
#include <string>

#include "tests/fuzz/router.h"
#include "tests/fuzz/script.h"

// What the mutator makes for a target (grammar.cpp): the kinds of sections that it adds, the objects that its bodies
// are about, and one in how many bodies is a login or another action than get and set. An empty list: all.
struct Taste {
    std::initializer_list<const char *> kinds;
    std::initializer_list<const char *> objects;
    unsigned other_actions = 20;
};

extern const Taste kTaste;

// Runs a script from the router's first state on.
void run_script(const Script &script);

// Of a target, for judges.

struct DeleteJson {
    void operator()(cJSON *json) const { cJSON_Delete(json); }
};
using Tree = std::unique_ptr<cJSON, DeleteJson>;

// Sets the body of the next request, and CONTENT_LENGTH unless the script has set one.
void give_body(const std::string &body);

// Runs the endpoint with the router's body and holds what must be so for every request. The reply, empty without one,
// and the exit status.
struct Outcome {
    int status;
    Tree reply;
};
Outcome ask();

// The request as the program reads it: the body up to CONTENT_LENGTH. Empty: it is no JSON.
Tree read_request();

// Whether the caller of this request may act, as it is described: who is not open to guests, no loopback, no controller
// and has no session is refused.
bool may_pass(const cJSON *request);

// The text with a "?" for each byte that is no part of a UTF-8 character, as lists show what drivers and files say.
std::string as_utf8(std::string text);

// Text under a key; nullptr: there is no such string.
const char *text_of(const cJSON *parent, const char *key);

// The number "error" of a reply; wrong() without one.
int error_of(const cJSON *reply);
const char *message_of(const cJSON *reply);

#endif
