// SPDX-License-Identifier: MIT
// A double of the Wi-Fi driver: its requests for an interface's protocol and for the table of associated stations are
// answered from the case.
#ifndef TESTS_RUNNER_DOUBLES_WIRELESS_H
#define TESTS_RUNNER_DOUBLES_WIRELESS_H

// Whether this is one of the driver's requests.
bool is_wireless_request(unsigned long request);

// Answers a request of the driver as ioctl() does: 0, or -1 and errno.
int answer_wireless_request(unsigned long request, void *argument);

#endif
