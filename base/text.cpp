#include "base/text.h"

#include <cstdarg>
#include <cstdio>

bool put(Out out, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(out.text, out.size, format, arguments);
    va_end(arguments);
    return length >= 0 && static_cast<size_t>(length) < out.size;
}

void str_to_lower(char *text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'A' && *text <= 'Z') {
            *text = static_cast<char>(*text + ('a' - 'A'));
        }
    }
}
