// SPDX-License-Identifier: MIT
// What firmware-check tries, part by part of docs/firmware.md. Each prints what it finds (report.h).
#ifndef TESTS_FIRMWARE_CHECK_CHECKS_H
#define TESTS_FIRMWARE_CHECK_CHECKS_H

// The store. `commit`: commits, too. `reboot`: a shell command that plays a reboot, or nullptr.
void check_store(bool commit, const char *reboot);

// The ARP list, the queue, the Wi-Fi driver, files and commands of the router around.
void check_around();

#endif
