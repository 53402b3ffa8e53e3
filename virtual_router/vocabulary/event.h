// SPDX-License-Identifier: MIT
// Writes an event as the line that events.conf describes.
//
// Header only, without allocation and without the C++ library, so that whatever is loaded into the program may use it.
#ifndef VIRTUAL_ROUTER_VOCABULARY_EVENT_H
#define VIRTUAL_ROUTER_VOCABULARY_EVENT_H

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "virtual_router/vocabulary/words.h"

// The item of a call: its number, and of an item of an interface which one the call means.
struct EventItem {
    int id;
    bool of_interface;
    int radio;
    int virtual_interface;
};

// One line in the caller's room: marks first, then begin(), then the fields in their order, then end(). An event that
// does not fit ends the process: nothing is done unseen.
class EventLine {
  public:
    template <size_t size>
    explicit EventLine(char (&room)[size]) : EventLine(room, size) {}
    EventLine(char *room, size_t size) : start_(room), at_(room), limit_(room + size) {}

    // A mark without a value: nullptr.
    void mark(EventMark mark, const char *value = nullptr) {
        put_text(kEventMarkWords[static_cast<int>(mark)]);
        if (value != nullptr) {
            put('=');
            put_text(value);
        }
        put(' ');
    }
    void mark(EventMark mark, unsigned long number) { this->mark(mark, Number(number).text); }
    void mark(EventMark mark, const void *data, size_t size) {
        put_text(kEventMarkWords[static_cast<int>(mark)]);
        put('=');
        put_bytes(data, size);
        put(' ');
    }

    void begin(Event event) { put_text(kEventWords[static_cast<int>(event)]); }

    void word(const char *word) {
        put(' ');
        put_text(word);
    }
    void number(long number) { word(Number(number).text); }
    void item(const EventItem &item) {
        number(item.id);
        if (item.of_interface) {
            char interface[32];
            snprintf(interface, sizeof(interface), "@%d.%d", item.radio, item.virtual_interface);
            put_text(interface);
        }
    }
    void bytes(const void *data, size_t size) {
        put(' ');
        put_bytes(data, size);
    }
    // The same behind a name.
    void named_bytes(const char *name, const void *data, size_t size) {
        word(name);
        put('=');
        put_bytes(data, size);
    }
    // A text, which is the rest of the line.
    void rest(const char *text, size_t size) {
        put(' ');
        for (size_t i = 0; i < size; ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte == '\\' || byte == '\n') {
                put('\\');
                put(byte == '\n' ? 'n' : '\\');
            } else if (byte < ' ' || byte == 0x7f) {
                put('\\');
                put('x');
                put_hexadecimal(byte);
            } else {
                put(text[i]);
            }
        }
    }

    // Ends the line with a line feed.
    void end() { put('\n'); }
    const char *data() const { return start_; }
    size_t size() const { return static_cast<size_t>(at_ - start_); }

  private:
    struct Number {
        explicit Number(long number) { snprintf(text, sizeof(text), "%ld", number); }
        explicit Number(unsigned long number) { snprintf(text, sizeof(text), "%lu", number); }
        char text[24];
    };

    void put(char c) {
        if (at_ == limit_) {
            __builtin_trap();
        }
        *at_++ = c;
    }
    void put_text(const char *text) {
        for (; *text != '\0'; ++text) {
            put(*text);
        }
    }
    void put_bytes(const void *data, size_t size) {
        const auto *byte = static_cast<const unsigned char *>(data);
        for (size_t i = 0; i < size; ++i) {
            put_hexadecimal(byte[i]);
        }
    }
    void put_hexadecimal(unsigned char byte) {
        put("0123456789abcdef"[byte >> 4]);
        put("0123456789abcdef"[byte & 15]);
    }

    char *start_;
    char *at_;
    char *limit_;
};

#endif
