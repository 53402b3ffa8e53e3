// The kinds of requests that are measured.
#ifndef BENCH_KINDS_H
#define BENCH_KINDS_H

#include <string>
#include <vector>

#include "bench/home.h"

// Something that a request must do, whoever writes app.cgi, in the words of steps.cpp.
struct Step {
    std::string way;
    std::string what;
};

// Marks in bodies and steps are filled in for each run:
//
//   {s}  the id of the session
//   {p}  the driver's process id
//   {n}  a number of four digits, another one in each run
//   {h}  its digits as bytes in hexadecimal; {l}: the number as a little-endian word in hexadecimal
//   {m}  a number from 1400 to 1489, another one in each run
//   {b}  0 and 1 in turn
struct Kind {
    const char *name;
    bool shell;  // it must run shell commands; the aim for times is for the others
    const char *body;
    const char *expected;  // what the reply must hold, so that nothing but the wanted work is measured
    int exit_status;
    double budget;  // of instructions, times the floor's; what starting shell commands takes is left out
    std::vector<Step> steps;
    Home home = {};
};

constexpr double kInstructionBudget = 1.5;  // times the floor's
constexpr double kMeshBudget = 1.6;         // the same for one that stores 45 items, most of them as they are
constexpr double kTableBudget = 2.1;        // the same for one that shows a full table, or twelve objects
constexpr double kHomeBudget = 42;          // the same for one that lists 256 clients

constexpr char kSessionPath[] = "/var/app_sessionid";
constexpr char kSessionId[] = "Us00112233445566778899aabbccddeeff";

// Those that also a quick run measures: every way through the program, full tables, homes of all sizes.
const std::vector<Kind> &main_kinds();

// Every object that the main ones leave out, get and set. They come last, because they change what the others meet.
const std::vector<Kind> &object_kinds();

#endif
