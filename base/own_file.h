// SPDX-License-Identifier: MIT
// Files in folders into which others can put something, too.
#ifndef BASE_OWN_FILE_H
#define BASE_OWN_FILE_H

#include <sys/stat.h>

// Whether a file is root's or of the endpoint's own user.
bool is_trusted(const struct stat &status);

// Whether a path leads through /tmp, where everybody may put something.
bool is_of_everybody(const char *path);

// Opens a path with the flags of open(), which may have a file made with mode 0600; no link is followed at its end. On
// the way through /tmp there is no link either, and no folder of another user but root.
int open_without_links(const char *path, int flags);

// Opens a file that the endpoint makes for itself, in the same way. Below 0: it can't be opened, or what is there is
// none: a link, a pipe, a file of another user but root, or one that has a second name.
int open_own_file(const char *path, int flags);

#endif
