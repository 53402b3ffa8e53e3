// SPDX-License-Identifier: MIT
// MD5 (RFC 1321). For session ids only: it is no protection of secrets.
#ifndef LOGIN_MD5_H
#define LOGIN_MD5_H

// The digest of the text's bytes as 32 lower-case hexadecimal digits and a terminator, to be released with free().
// nullptr without a text or without memory; the reason is then on standard error.
char *MD5_encryption(const char *text);

#endif
