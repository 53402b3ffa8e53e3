// What happens to the store when the router starts.
#ifndef VIRTUAL_ROUTER_APMIB_BOOT_H
#define VIRTUAL_ROUTER_APMIB_BOOT_H

#include "virtual_router/apmib/items.h"

namespace store {

// Makes both copies ready: checks the committed copy, gives new items their default, and lays out the working copy from
// it. What was not committed is gone. A committed copy that is damaged is reported on standard error, set aside under a
// name with the time, and replaced by the definitions' defaults, as it is with `fresh` or when there is none.
//
// May run while other processes use the store. Throws std::runtime_error when the store can't be made ready.
void boot(const Records &definitions, bool fresh);

// Throws std::runtime_error with what LMDB or the system says about an error, unless it is 0.
void check(int error, const std::string &what);

}  // namespace store

#endif
