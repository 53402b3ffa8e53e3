// SPDX-License-Identifier: MIT
// Comparing what nobody may find out by trying.
#ifndef BASE_SAME_SECRET_H
#define BASE_SAME_SECRET_H

// Whether the texts are the same. How long that takes depends on the length of `given` alone, and not on how much of it
// is right.
bool same_secret(const char *secret, const char *given);

#endif
