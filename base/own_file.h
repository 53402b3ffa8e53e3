// SPDX-License-Identifier: MIT
// Files that the endpoint makes for itself.
#ifndef BASE_OWN_FILE_H
#define BASE_OWN_FILE_H

// Opens one, with the flags of open(), which may have it made with mode 0600. Below 0: it can't be opened, or what is
// there is none: a link, a pipe, a file of another user but root, or one that has a second name.
int open_own_file(const char *path, int flags);

#endif
