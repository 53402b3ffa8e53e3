// SPDX-License-Identifier: MIT
// What happens to the store when the router starts.
#ifndef VIRTUAL_ROUTER_APMIB_BOOT_H
#define VIRTUAL_ROUTER_APMIB_BOOT_H

#include "virtual_router/apmib/items.h"

namespace store {

// Reads a committed copy, or a settings file, which may be damaged in any way. Returns what is wrong with it, or an
// empty text; then `records` are all that were committed. Throws std::runtime_error when there is no such file.
std::string read_committed(const char *path, Records *records);

// All that a transaction on the working copy sees. Throws std::runtime_error when there is what is no record.
Records read_working(const Copy &copy, MDB_txn *txn);

// Makes both copies ready: checks the committed copy, gives new items their default, and lays out the working copy from
// it. What was not committed is gone. A committed copy that is damaged is reported on standard error, set aside under a
// name with the time, and replaced by the definitions' defaults, as it is with `fresh` or when there is none.
//
// May run while other processes use the store. Throws std::runtime_error when the store can't be made ready.
void boot(const Records &definitions, bool fresh);

// Makes the working copy what a file of the form of a committed copy has, as far as the definitions know its items, in
// one transaction: other processes use the store meanwhile. The committed copy stays. Throws std::runtime_error when
// the file is damaged, or the store can't be written.
void load(const Records &definitions, const char *path);

// Throws std::runtime_error with what LMDB or the system says about an error, unless it is 0.
void check(int error, const std::string &what);

}  // namespace store

#endif
