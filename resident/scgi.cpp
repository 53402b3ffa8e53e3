// SPDX-License-Identifier: MIT
#include "resident/scgi.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

const char kNothingSent[] = "nothing was sent";

namespace {

// The block and its comma. Pages that no head reaches are never touched.
char g_block[kMostHead + 1];

// Reads until `size` bytes are there or the connection ends. Returns how many are.
size_t read_whole(int connection, char *bytes, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t count = read(connection, bytes + done, size - done);
        if (count > 0) {
            done += static_cast<size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

// The number before the colon. One byte at a time, since nobody could put back what is read beyond it.
const char *read_length(int connection, size_t &length) {
    length = 0;
    for (int digits = 0;; ++digits) {
        char byte = '\0';
        if (read_whole(connection, &byte, 1) == 0) {
            return digits == 0 ? kNothingSent : "the head is cut";
        }
        if (byte == ':' && digits > 0) {
            return nullptr;
        }
        if (byte < '0' || byte > '9' || (digits == 1 && length == 0)) {
            return "the head does not begin with its length";
        }
        length = length * 10 + static_cast<size_t>(byte - '0');
        if (length > kMostHead) {
            return "the head is too long";
        }
    }
}

}  // namespace

const char *parse_head(const char *block, size_t length, ScgiHead &head) {
    head = {};
    const char *version = nullptr;
    const struct {
        const char *name;
        const char *&value;
    } rows[] = {
        {"CONTENT_LENGTH", head.content_length},
        {"REMOTE_ADDR",    head.remote_address},
        {"SCGI",           version            },
    };
    // Each text below ends at a zero byte inside the block, since the last byte is one.
    if (length == 0 || block[length - 1] != '\0') {
        return "the head's last value is not ended";
    }
    const char *const end = block + length;
    for (const char *at = block; at < end;) {
        const char *const name = at;
        const char *const value = name + strlen(name) + 1;
        if (*name == '\0' || value == end) {
            return *name == '\0' ? "the head has a value without a name" : "the head has a name without a value";
        }
        at = value + strlen(value) + 1;
        for (const auto &row : rows) {
            if (strcmp(name, row.name) == 0) {
                if (row.value != nullptr) {
                    return "the head has a name twice";  // which of them the web server meant, nobody can tell
                }
                row.value = value;
            }
        }
    }
    if (version == nullptr || strcmp(version, "1") != 0) {
        return "the head is not one of SCGI";
    }
    return nullptr;
}

const char *read_head(int connection, ScgiHead &head) {
    size_t length = 0;
    if (const char *fault = read_length(connection, length); fault != nullptr) {
        return fault;
    }
    if (read_whole(connection, g_block, length + 1) != length + 1) {
        return "the head is cut";
    }
    if (g_block[length] != ',') {
        return "the head is not ended by a comma";
    }
    return parse_head(g_block, length, head);
}
