// SPDX-License-Identifier: MIT
// Fixed-size texts: one way to fill them, which cannot write past their end.
#ifndef BASE_TEXT_H
#define BASE_TEXT_H

#include <netinet/in.h>

#include <cstddef>
#include <initializer_list>

// A char array together with its size, so that no caller counts bytes.
struct Out {
    char *text;
    size_t size;  // in bytes, terminator included; never 0
    // Implicit, so that a caller passes its array and nothing else.
    template <size_t N>
    // cppcheck-suppress noExplicitConstructor
    Out(char (&array)[N]) : text(array), size(N) {}  // NOLINT(google-explicit-constructor)
};

// Formats into `out`, always terminated. False: the text did not fit and was cut; it is then not what was asked for.
bool put(Out out, const char *format, ...) __attribute__((format(printf, 2, 3)));

// Puts texts one behind the other into `out`, always terminated. False: they did not fit and were cut. Every request
// joins texts, and the first use of the formatter costs it some 10 us.
bool join(Out out, std::initializer_list<const char *> parts);

// The same behind the text that `out` holds.
bool append(Out out, std::initializer_list<const char *> parts);

// The decimal digits of a number, for join() and the like.
class Decimal {
  public:
    explicit Decimal(long long value);
    Decimal(const Decimal &) = delete;
    Decimal &operator=(const Decimal &) = delete;
    const char *c_str() const { return first_; }

  private:
    char text_[21] = {};  // a sign, 19 digits, a terminator
    char *first_;
};

// The four decimal numbers of an IPv4 address, for join() and the like. inet_ntoa() writes the same by way of the
// formatter: 2,000 instructions an address.
class Dotted {
  public:
    explicit Dotted(in_addr address);
    const char *c_str() const { return text_; }

  private:
    char text_[INET_ADDRSTRLEN];
};

// What the C library prints for a text that is not there, so that a log line or a diagnostic can be printed without
// one.
inline const char *printable(const char *text) {
    return text != nullptr ? text : "(null)";
}

// The decimal number at the beginning of the text, after blanks; 0 if there is none. A number beyond the range of an
// int is the nearest int, on every machine: what atoi() makes of it depends on the width of a long.
int decimal_value(const char *text);

// Turns ASCII A-Z into a-z, in place.
void str_to_lower(char *text);

#endif
