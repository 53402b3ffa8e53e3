// SPDX-License-Identifier: MIT
// The kinds of requests that are measured.
#ifndef BENCH_KINDS_H
#define BENCH_KINDS_H

#include <string>
#include <vector>

#include "bench/home.h"

// Marks in bodies and steps are filled in for each run:
//
//   {s}  the id of the session
//   {p}  the driver's process id
//   {n}  a number of four digits, another one in each run
//   {h}  its digits as bytes in hexadecimal; {l}: the number as a little-endian word in hexadecimal
//   {m}  a number from 1400 to 1489, another one in each run
//   {c}  a number from 1 to 11, another one in each run
//   {b}  0 and 1 in turn
struct Kind {
    const char *name;
    const char *body;
    const char *expected;  // what the reply must hold, so that nothing but the wanted work is measured
    int exit_status;
    double budget;  // of instructions, times those of the bare program
    // What it must do beside what every request must (steps.h), whoever writes app.cgi, as lines:
    //
    //   [output] run COMMAND        run it by the shell; "output": and read what it prints
    //   get ITEM, entries ITEM      read an item; a table's count and all its entries
    //   set ITEM VALUE              write an item; VALUE as in platform/items.conf
    //   add, delete ITEM BYTES      add an entry to a table, delete it; BYTES in hexadecimal
    //   replace ITEM BYTES          put an entry in the last one's place, which is read
    //   commit                      commit the store, and write its settings file
    //   queue TYPE [sysconfArgv="TEXT"]   post a record to the system daemon
    //
    // ITEM is a name of platform/items.conf, with the interface behind it where it has one: MIB_WLAN_SSID@0.1 is radio
    // 0, virtual interface 1.
    std::vector<std::string> steps;
    Home home = {};
};

// Budgets, times the instructions of the bare program.
constexpr double kSetBudget = 1.25;
constexpr double kGetBudget = 1.3;      // gets and login, without lists
constexpr double kAskingBudget = 1.45;  // those that print channel lists or ask the kernel
constexpr double kTableBudget = 1.75;   // those that show a full table, or twelve objects
constexpr double kHomeBudget = 38;      // those that list 256 clients

constexpr char kSessionPath[] = "/var/app_sessionid";
constexpr char kSessionId[] = "Us00112233445566778899aabbccddeeff";

// Those that also a quick run measures: every way through the program, full tables, homes of all sizes.
const std::vector<Kind> &main_kinds();

// Every object that the main ones leave out, get and set. They come last, because they change what the others meet.
const std::vector<Kind> &object_kinds();

#endif
