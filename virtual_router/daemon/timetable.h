// SPDX-License-Identifier: MIT
// What the router does at times of its own, and when its WAN's cable is pulled or plugged in.
#ifndef VIRTUAL_ROUTER_DAEMON_TIMETABLE_H
#define VIRTUAL_ROUTER_DAEMON_TIMETABLE_H

#include <functional>
#include <string>
#include <vector>

// A command leaves a file of its name in /var/run/at with the second, by the router's clock, at which it is to run
// again; the file goes when it does. Those that depend on the time of day run also when the clock is set.
//
// Waits for ever for what is due, and has it run: `run` takes a line that says why, and the command's words.
[[noreturn]] void keep_timetable(
    const std::function<void(const std::string &why, const std::vector<std::string> &command)> &run);

#endif
