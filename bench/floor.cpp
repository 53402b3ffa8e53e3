// SPDX-License-Identifier: MIT
// The least that a request costs whatever is written in app.cgi: a process with the same libraries, the store opened,
// the body read, a reply of the usual size written. Linked with steps.cpp, and told its steps, it is the bare program,
// whose reply is a step.
#include <unistd.h>

#include <cstdlib>

#include "bench/steps.h"
#include "platform/apmib.h"

namespace {

constexpr char kReply[] = R"json({
	"action":	"scanRsp",
	"result":	{
		"error":	"0"
	},
	"dutInfo":	{
		"mac":	"001122AABBCC",
		"type":	"Mesh",
		"model":	"KT7094HZM",
		"sn":	"kt70a1b2c3d4",
		"name":	"My Router",
		"sVersion":	"1.0.0(515)",
		"hVersion":	"2",
		"date":	"2024-01-02",
		"init":	0
	}
}
)json";

char body[(1 << 16) + 1];

bool read_body(size_t length) {
    size_t total = 0;
    while (total < length && total < sizeof body - 1) {
        const ssize_t count = read(STDIN_FILENO, body + total, sizeof body - 1 - total);
        if (count <= 0) {
            return false;
        }
        total += static_cast<size_t>(count);
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    const char *length = getenv("CONTENT_LENGTH");
    if (apmib_init() == 0 || length == nullptr || !read_body(strtoul(length, nullptr, 10)) ||
        !run_steps(argc, argv, body)) {
        return 1;
    }
    if (argc > 1) {
        return 0;
    }
    return write(STDOUT_FILENO, kReply, sizeof kReply - 1) == ssize_t{sizeof kReply - 1} ? 0 : 1;
}
