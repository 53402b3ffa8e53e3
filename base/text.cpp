#include "base/text.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

bool put(Out out, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(out.text, out.size, format, arguments);
    va_end(arguments);
    return length >= 0 && static_cast<size_t>(length) < out.size;
}

int decimal_value(const char *text) {
    const long value = strtol(text, nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    return value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

void str_to_lower(char *text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'A' && *text <= 'Z') {
            *text = static_cast<char>(*text + ('a' - 'A'));
        }
    }
}
