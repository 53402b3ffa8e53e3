// SPDX-License-Identifier: MIT
// The configuration store that the firmware supplies as libapmib.so.
//
// Declarations only, for C and C++: the dynamic linker binds them to the router's own library, or to the virtual
// router's. In the endpoint nothing but store/ includes this header; everything else uses the typed items of
// store/items.h. Which items there are, platform/items.conf says.
//
// The store holds a working copy, which belongs to the router and not to the process: what one request writes is seen
// by the next, committed or not. A commit makes the working copy survive a reboot.
#ifndef PLATFORM_APMIB_H
#define PLATFORM_APMIB_H

#ifdef __cplusplus
extern "C" {
#endif

// Which wireless interface the per-interface items mean. wlan_idx: 0 is the 5 GHz radio, 1 the 2.4 GHz radio.
// vwlan_idx: 0 is the main access point, 1 to 5 the virtual ones; 5 is also the repeater interface.
enum { kWlanCount = 2, kVwlanCount = 6 };
extern int wlan_idx;
extern int vwlan_idx;

// Opens the store. Non-zero: ready. 0: failed, and no other call may be made.
int apmib_init(void);

// Reads an item. Non-zero: exactly the item's width was written to `value`. 0: failed, `value` is untouched.
// An entry of a table is read with its 1-based index in the first byte of `value`.
int apmib_get(int id, void *value);

// Writes an item, reading exactly its width from `value`, into the working copy. Non-zero: stored. 0: failed.
// Adding to and deleting from a table are writes to ids of their own (platform/tables.h).
int apmib_set(int id, void *value);

// Commits the working copy when `type` is kCommitWorkingCopy. Non-zero: done. 0: failed.
enum { kCommitWorkingCopy = 4 };
int apmib_update(int type);

// Writes the settings file that the router keeps beside the store, after a commit. 0: done.
int save_cs_to_file(void);

#ifdef __cplusplus
}
#endif

#endif
