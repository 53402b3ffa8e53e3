// SPDX-License-Identifier: MIT
// Holders that release what they hold when they go out of scope. Creation is checked with `if (!holder)`.
#ifndef BASE_RESOURCE_H
#define BASE_RESOURCE_H

#include <cjson/cJSON.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
struct ClosePipe {
    void operator()(FILE *pipe) const { pclose(pipe); }
};
struct FreeJson {
    void operator()(cJSON *json) const { cJSON_Delete(json); }
};
struct FreeMemory {
    void operator()(void *memory) const { free(memory); }
};

using File = std::unique_ptr<FILE, CloseFile>;
using Pipe = std::unique_ptr<FILE, ClosePipe>;  // of popen(); waits for the command when it closes
using Json = std::unique_ptr<cJSON, FreeJson>;  // a whole tree; a node that was added to a tree belongs to that tree
using OwnedText = std::unique_ptr<char, FreeMemory>;  // a text that malloc() or cJSON made

// Holds a file descriptor; a negative one is none.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }
    // Hands the descriptor over to the caller.
    int release() {
        const int number = number_;
        number_ = -1;
        return number;
    }

  private:
    int number_;
};

#endif
