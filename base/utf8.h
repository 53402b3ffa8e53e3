// SPDX-License-Identifier: MIT
// Texts of drivers and files may hold any bytes, but a JSON reply holds UTF-8.
#ifndef BASE_UTF8_H
#define BASE_UTF8_H

// Puts a "?" in the place of each byte that is no part of a valid UTF-8 character. The length stays, so that what
// fitted a field still does. Returns `text`.
char *make_valid_utf8(char *text);

#endif
