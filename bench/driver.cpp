// Measures what app.cgi adds to the least that a request can cost (floor.cpp, steps.cpp), for each kind of request.
//
//   driver [--runs N] [--quick] [--static] [--json] ROOT
//   driver --list
//
// --quick leaves out the kinds that are there for completeness; --list prints the bodies of all of them. --static
// leaves out the homes: nothing can be loaded into a static program to play their drivers. ROOT is a router's root as
// bench/in_root lays it out: app.cgi, the floor, the store. Standard output: the table, or one JSON object. Exit
// status: 0 all budgets hold, 1 one is broken, 2 it could not be measured.
//
// Only counts are judged: instructions, and the commands that were run. Times depend on what else the machine does.
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/kinds.h"
#include "bench/measure.h"

namespace {

constexpr char kProgram[] = "/web/app/app.cgi";
constexpr char kFloor[] = "/web/app/bench_floor";
constexpr char kSteps[] = "/web/app/bench_steps";
constexpr char kPhone[] = "192.168.1.100";

constexpr double kGrowthBudget = 2.3;  // what is its own with twice the clients, times what it was
constexpr unsigned kDirtyBudget = 40;  // KiB of memory of its own, more than a program that does what is required
constexpr unsigned kDirtyAim = 150;    // KiB of memory of its own, all in all
constexpr double kTimeAim = 45;        // microseconds of its own
constexpr double kShellAim = 1.05;     // times a program that does nothing but what is required
constexpr double kCpuAim = 5000;       // microseconds of processor time of its own, in a home

// A figure of the three programs that are compared.
template <typename Number>
struct Figures {
    Number floor;
    Number steps;  // the floor that does the kind's steps, too
    Number program;
};

std::vector<std::string> sorted(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

// What is measured of a kind.
struct Row {
    const Kind *kind;
    double budget;  // infinite for static programs: their floor does next to nothing, so that ratios to it say little
    // Microseconds, medians.
    Figures<double> time;
    // Microseconds, medians of the differences of neighbours.
    double added_time;        // the program over the floor
    double added_cpu;         // the same in CPU time, which other processes on the core disturb less
    double required_time;     // the steps over the floor
    double own_time;          // the program over the steps
    double own_cpu;           // the same in CPU time
    Figures<uint64_t> count;  // instructions
    Figures<Trace> trace;

    double own_growth;  // of its own instructions against half the clients; 0 where there is no such row

    bool in_a_home() const { return kind->home.clients > 0; }
    int64_t own_count() const { return static_cast<int64_t>(count.program - count.steps); }
    double count_ratio() const { return static_cast<double>(count.program) / static_cast<double>(count.floor); }
    double own_count_ratio() const { return static_cast<double>(count.program) / static_cast<double>(count.steps); }
    // What the budget is held against. Writes to the store count, starting shell commands does not.
    double judged_ratio() const {
        const auto floor = static_cast<double>(count.floor);
        return kind->shell ? (floor + static_cast<double>(own_count())) / floor : count_ratio();
    }
    bool count_holds() const { return judged_ratio() <= budget && own_growth <= kGrowthBudget; }
    // A list of clients takes what its clients take.
    bool memory_holds() const {
        return in_a_home() || trace.program.most_dirty <= trace.steps.most_dirty + kDirtyBudget;
    }
    // Sorted, because the commands of a pipe start in any order.
    bool commands_hold() const { return sorted(trace.program.commands) == sorted(trace.steps.commands); }
    bool holds() const { return count_holds() && memory_holds() && commands_hold(); }
    double time_ratio() const { return time.program / time.steps; }
    bool time_holds() const {
        return in_a_home() ? own_cpu <= kCpuAim : kind->shell ? time_ratio() <= kShellAim : own_time <= kTimeAim;
    }
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void replace_all(std::string &text, const std::string &mark, const std::string &value) {
    for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += value.size()) {
        text.replace(at, mark.size(), value);
    }
}

std::string in_hexadecimal(const std::string &bytes) {
    std::string text;
    for (const char byte : bytes) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(static_cast<uint8_t>(byte)));
        text += digits;
    }
    return text;
}

// See kinds.h for the marks.
std::string fill(std::string text, unsigned run) {
    const unsigned number = 1000 + run % 9000;
    const char word[] = {static_cast<char>(number & 0xFF), static_cast<char>(number >> 8), 0, 0};
    replace_all(text, "{s}", kSessionId);
    replace_all(text, "{p}", std::to_string(getpid()));
    replace_all(text, "{n}", std::to_string(number));
    replace_all(text, "{h}", in_hexadecimal(std::to_string(number)));
    replace_all(text, "{l}", in_hexadecimal(std::string(word, sizeof word)));
    replace_all(text, "{m}", std::to_string(1400 + run % 90));
    replace_all(text, "{b}", std::to_string(run % 2));
    return text;
}

// In a home, what plays its drivers is loaded into every program, the floor included.
Request make_request(const std::string &body, std::vector<std::string> command, unsigned run, bool in_a_home = false) {
    Request request = {std::move(command), {}, fill(body, run)};
    request.environment = {"PATH=/bin", std::string("REMOTE_ADDR=") + kPhone,
                           "CONTENT_LENGTH=" + std::to_string(request.body.size())};
    if (in_a_home) {
        request.environment.push_back(std::string("LD_PRELOAD=") + kHomeDriver);
    }
    return request;
}

Request program_request(const Kind &kind, unsigned run) {
    return make_request(kind.body, {kProgram}, run, kind.home.clients > 0);
}

Request floor_request(const Kind &kind, unsigned run) {
    return make_request(kind.body, {kFloor}, run, kind.home.clients > 0);
}

// Without steps it is the floor's.
Request steps_request(const Kind &kind, unsigned run) {
    if (kind.steps.empty()) {
        return floor_request(kind, run);
    }
    std::vector<std::string> command = {kSteps};
    for (const Step &step : kind.steps) {
        command.insert(command.end(), {step.way, fill(step.what, run)});
    }
    return make_request(kind.body, command, run, kind.home.clients > 0);
}

// What a request finds: the session, and a queue with room. Not part of what is measured.
void prepare() {
    std::ofstream(kSessionPath) << "sessionid=" << kSessionId;
    const int queue = msgget(ftok("/dev/null", 117), 0);
    if (queue >= 0) {
        msgctl(queue, IPC_RMID, nullptr);
    }
}

Outcome outcome_of(const Request &request) {
    prepare();
    return run_once(request);
}

// Makes the router the controller of a mesh, whose topology belongs to a home.
void join_mesh() {
    constexpr char kMeshRole[] = "2386=1";
    if (outcome_of(make_request("{}", {kSteps, "number", kMeshRole}, 0)).exit_status != 0) {
        throw std::runtime_error("the router can't join a mesh");
    }
}

// Has the program fill the tables of the access rules.
void fill_tables() {
    std::vector<std::string> objects;
    for (int i = 0; i < 20; ++i) {
        const std::string number = std::to_string(i);
        const std::string mac = "\"0200000000" + std::string(i < 10 ? "0" : "") + number + '"';
        objects.push_back(R"("Sec":{"macFiltering":1,"addMaclist":[[)" + mac +
                          R"(,"a device of the home","","1111111"]]})");
        objects.push_back(
            R"("netAcc":{"enable":1,"addlist":[{"mac":)" + mac +
            R"(,"TimeControl":1,"stime":"08:00:00","etime":"22:30:00","week":"0111110","name":"tablet"}]})");
        objects.push_back(R"("urlfilter":{"enable":1,"mode":0,"addurl":"keyword)" + number + R"("})");
        if (i % 2 == 0) {
            const std::string tens = "192.168.1." + std::to_string(10 + i / 2);
            objects.push_back(R"("qos":{"enable":1,"ipRuleMod":{"Act":"add","ulimit":1,"dlimit":1,"ip":")" + tens +
                              "0-" + tens + "9\"}}");
        }
    }
    for (const std::string &object : objects) {
        const std::string body = R"({"action":"set","sessionid":"{s}",)" + object + "}";
        const Outcome outcome = outcome_of(make_request(body, {kProgram}, 0));
        if (outcome.reply.find("\"error\":\t0") == std::string::npos) {
            throw std::runtime_error("the tables can't be filled: " + outcome.reply);
        }
    }
}

void check_answer(const Kind &kind) {
    prepare();
    const Outcome outcome = run_once(program_request(kind, 0));
    if (outcome.exit_status != kind.exit_status || outcome.reply.find(kind.expected) == std::string::npos) {
        throw std::runtime_error(std::string("'") + kind.name + "' ends with " + std::to_string(outcome.exit_status) +
                                 " and answers: " + outcome.reply);
    }
    if (run_once(steps_request(kind, 0)).exit_status != 0) {
        throw std::runtime_error(std::string("the floor fails for '") + kind.name + "'");
    }
}

std::string store_content() {
    return run_once(make_request("", {"/bin/flash", "all"}, 0)).reply;
}

// Whether the program leaves in the store what the steps leave there, each after the other.
void check_steps(const Kind &kind) {
    for (const unsigned run : {1U, 2U}) {
        const bool program_first = run == 2;
        outcome_of(program_first ? program_request(kind, run) : steps_request(kind, run));
        const std::string content = store_content();
        outcome_of(program_first ? steps_request(kind, run) : program_request(kind, run));
        if (content.empty() || content != store_content()) {
            throw std::runtime_error(std::string("'") + kind.name + "' stores other things than its steps");
        }
    }
}

void measure_times(const Kind &kind, unsigned runs, Row &row) {
    const unsigned warm_up = std::min(runs, 10U);
    Figures<std::vector<double>> times;
    std::vector<double> added;
    std::vector<double> added_cpu;
    std::vector<double> required;
    std::vector<double> own;
    std::vector<double> own_cpu;
    for (unsigned run = 0; run < warm_up + runs; ++run) {
        // Neighbours meet the same machine. The numbers grow from program to program, so that each of them changes the
        // store; the order turns round, so that none always comes first.
        Figures<Outcome> outcome = {};
        const unsigned number = 3 * run;
        const auto run_floor = [&](unsigned n) { outcome.floor = outcome_of(floor_request(kind, n)); };
        const auto run_program = [&](unsigned n) { outcome.program = outcome_of(program_request(kind, n)); };
        (run % 2 == 0) ? run_floor(number) : run_program(number);
        if (!kind.steps.empty()) {
            outcome.steps = outcome_of(steps_request(kind, number + 1));
        }
        (run % 2 == 0) ? run_program(number + 2) : run_floor(number + 2);
        if (kind.steps.empty()) {
            outcome.steps = outcome.floor;
        }
        if (run < warm_up) {
            continue;
        }
        times.floor.push_back(outcome.floor.microseconds);
        times.steps.push_back(outcome.steps.microseconds);
        times.program.push_back(outcome.program.microseconds);
        added.push_back(outcome.program.microseconds - outcome.floor.microseconds);
        added_cpu.push_back(outcome.program.cpu_microseconds - outcome.floor.cpu_microseconds);
        required.push_back(outcome.steps.microseconds - outcome.floor.microseconds);
        own.push_back(outcome.program.microseconds - outcome.steps.microseconds);
        own_cpu.push_back(outcome.program.cpu_microseconds - outcome.steps.cpu_microseconds);
    }
    row.time = {median(times.floor), median(times.steps), median(times.program)};
    row.added_time = median(added);
    row.added_cpu = median(added_cpu);
    row.required_time = median(required);
    row.own_time = median(own);
    row.own_cpu = median(own_cpu);
}

uint64_t count_of(const Request &request) {
    prepare();
    return count_instructions(request);
}

Trace trace_of(const Request &request) {
    prepare();
    return trace(request);
}

// Compares with the kind that asks the same of half as many clients, which comes before.
double growth_of(const Row &row, const std::vector<Row> &rows) {
    const auto half = std::find_if(rows.begin(), rows.end(), [&row](const Row &other) {
        const Home &home = other.kind->home;
        return home.clients > 1 && 2 * home.clients == row.kind->home.clients && home.radios == row.kind->home.radios &&
               other.kind->body == row.kind->body;
    });
    return half == rows.end() ? 0 : static_cast<double>(row.own_count()) / static_cast<double>(half->own_count());
}

Row measure(const Kind &kind, unsigned runs, bool is_static) {
    if (kind.home.clients > 0) {
        move_into(kind.home);
    }
    check_answer(kind);
    check_steps(kind);
    Row row = {};
    row.kind = &kind;
    row.budget = is_static ? std::numeric_limits<double>::infinity() : kind.budget;
    // In a home each run takes dozens of milliseconds, and few of them tell as much.
    measure_times(kind, kind.home.clients > 0 ? (runs + 9) / 10 : runs, row);
    row.count.floor = count_of(floor_request(kind, 0));
    row.count.steps = kind.steps.empty() ? row.count.floor : count_of(steps_request(kind, 1));
    row.count.program = count_of(program_request(kind, 2));
    row.trace = {trace_of(floor_request(kind, 0)), trace_of(steps_request(kind, 1)),
                 trace_of(program_request(kind, 2))};
    return row;
}

std::string processor_name() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

// A program that serves the object "app" in another way. See bench/peers.
struct Peer {
    const char *name;
    std::vector<std::string> command;
    const char *needs;  // a program
};

const Peer kPeers[] = {
    {"app.cgi",       {kProgram},                         "/bin/busybox"},
    {"Lua, no store", {"/web/app/app.lua", "--no-store"}, "/bin/lua5.4" },
    {"Lua",           {"/web/app/app.lua"},               "/bin/lua5.4" },
    {"shell and jq",  {"/web/app/app.sh"},                "/bin/jq"     },
};

struct PeerRow {
    const Peer *peer;
    const char *kind;
    bool is_here;
    double time;  // microseconds, medians
    double cpu;   // with that of the commands that it runs
    size_t commands;
};

// Those of the peers that the machine has, for each of both requests, in turn.
std::vector<PeerRow> measure_peers(unsigned runs) {
    std::vector<PeerRow> rows;
    for (const Kind &kind : main_kinds()) {
        if (strcmp(kind.name, "get app") != 0 && strcmp(kind.name, "set app") != 0) {
            continue;
        }
        const auto ask = [&kind](const Peer &peer, unsigned run) { return make_request(kind.body, peer.command, run); };
        std::vector<PeerRow> asked;
        std::vector<std::vector<double>> times(std::size(kPeers));
        std::vector<std::vector<double>> cpu_times(std::size(kPeers));
        for (const Peer &peer : kPeers) {
            asked.push_back({&peer, kind.name, access(peer.needs, X_OK) == 0, 0, 0, 0});
            if (asked.back().is_here) {
                const Outcome outcome = outcome_of(ask(peer, 0));
                if (outcome.exit_status != 0 || outcome.reply.find("\"app\"") == std::string::npos) {
                    throw std::runtime_error(std::string(peer.name) + " answers: " + outcome.reply);
                }
                asked.back().commands = trace_of(ask(peer, 1)).commands.size();
            }
        }
        for (unsigned run = 0; run < runs; ++run) {
            for (size_t i = 0; i < asked.size(); ++i) {
                if (asked[i].is_here) {
                    const Outcome outcome = outcome_of(ask(*asked[i].peer, run * 8 + static_cast<unsigned>(i)));
                    times[i].push_back(outcome.microseconds);
                    cpu_times[i].push_back(outcome.cpu_microseconds);
                }
            }
        }
        for (size_t i = 0; i < asked.size(); ++i) {
            if (asked[i].is_here) {
                asked[i].time = median(times[i]);
                asked[i].cpu = median(cpu_times[i]);
            }
            rows.push_back(asked[i]);
        }
    }
    return rows;
}

struct Setting {
    std::string machine;
    int core;
    unsigned runs;
};

const char *verdict(bool holds) {
    return holds ? "holds" : "BROKEN";
}

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) {
        text += (text.empty() ? "'" : ", '") + line + "'";
    }
    return text.empty() ? "runs nothing" : "runs " + text;
}

unsigned long long to_print(uint64_t count) {
    return count;
}

std::string load_average() {
    std::ifstream file("/proc/loadavg");
    std::string load;
    file >> load;
    return load;
}

void print_table(const Setting &setting, const std::vector<Row> &rows) {
    printf("%s, core %d, %u runs of each, in turn; load %s when done\n\n", setting.machine.c_str(), setting.core,
           setting.runs, load_average().c_str());
    printf("%-15s | %50s | %10s | %52s | %13s | %14s | %9s |\n", "", "microseconds, medians", "commands",
           "instructions", "system calls", "dirty", "resident");
    printf(
        "%-15s | %6s %7s %7s %8s %6s %5s %5s | %4s %5s | %7s %8s %8s %6s %6s %6s %5s | %6s %6s | %4s %4s %4s | %4s %4s "
        "|\n",
        "request", "floor", "app.cgi", "added", "required", "own", "cpu", "bare", "run", "share", "floor", "app.cgi",
        "required", "ratio", "budget", "growth", "bare", "floor", "app", "flr", "bare", "app", "flr", "app");
    for (const Row &row : rows) {
        const auto &[floor, steps, program] = row.count;
        printf("%-15s | %6.0f %7.0f %7.0f %8.0f %6.0f %5.0f %5.2f | ", row.kind->name, row.time.floor, row.time.program,
               row.added_time, row.required_time, row.own_time, row.own_cpu, row.time_ratio());
        if (row.kind->shell) {
            printf("%4zu %4.0f%% | ", row.trace.program.commands.size(), 100 * row.required_time / row.added_time);
        } else {
            printf("%4zu %5s | ", row.trace.program.commands.size(), "");
        }
        printf("%7llu %8llu %8lld %6.2f %6.2f ", to_print(floor), to_print(program),
               static_cast<long long>(steps - floor), row.judged_ratio(), row.budget);
        if (row.own_growth > 0) {
            printf("%6.2f ", row.own_growth);
        } else {
            printf("%6s ", "");
        }
        printf("%5.2f | %6u %6u | %4u %4u %4u | %4u %4u | %s\n", row.own_count_ratio(), row.trace.floor.system_calls,
               row.trace.program.system_calls, row.trace.floor.most_dirty, row.trace.steps.most_dirty,
               row.trace.program.most_dirty, row.trace.floor.most_resident, row.trace.program.most_resident,
               verdict(row.holds()));
    }
    printf(
        "\nadded     over the floor\n"
        "required  of it, what any program must do for this request: shell commands, writes and commits of the store\n"
        "own       the rest; cpu: the same in processor time, without the time that others had the core\n"
        "bare      times a program that does nothing but what is required\n"
        "commands  programs that are run, shells included, and the required ones' share of what is added\n"
        "ratio     of the program's instructions to the floor's, without those that start required shell commands\n"
        "growth    of its own instructions since half as many clients: at most %.1f\n"
        "dirty     KiB of memory that is the process's own and was written to; bare: of a program that does what is "
        "required\n"
        "resident  KiB of memory, shared pages of libraries included\n"
        "Instructions, system calls and memory are those of the process itself, not of the commands that it "
        "starts.\n\n",
        kGrowthBudget);
    for (const Row &row : rows) {
        if (!row.time_holds()) {
            if (row.in_a_home()) {
                printf("%s: %.0f us of processor time of its own, aim at %.0f", row.kind->name, row.own_cpu, kCpuAim);
            } else if (row.kind->shell) {
                printf("%s: %.2f times what is required, aim at %.2f", row.kind->name, row.time_ratio(), kShellAim);
            } else {
                printf("%s: %.0f us of its own, aim at %.0f", row.kind->name, row.own_time, kTimeAim);
            }
            printf(" (a time: not judged)\n");
        }
        if (row.trace.program.most_dirty > kDirtyAim) {
            printf("%s: %u KiB of memory of its own, %u of which are required, aim at %u (not judged)\n",
                   row.kind->name, row.trace.program.most_dirty, row.trace.steps.most_dirty, kDirtyAim);
        }
        if (!row.commands_hold()) {
            printf("%s: %s, NOT WHAT IS REQUIRED: %s\n", row.kind->name, joined(row.trace.program.commands).c_str(),
                   joined(row.trace.steps.commands).c_str());
        }
    }
}

void print_peers(const std::vector<PeerRow> &rows) {
    if (rows.empty()) {
        return;
    }
    printf("\n%-13s | %-13s | %6s %6s %8s | %8s\n", "peer", "request", "us", "cpu", "app.cgi", "commands");
    double own = 0;
    for (const PeerRow &row : rows) {
        if (!row.is_here) {
            printf("%-13s | %-13s | left out: there is no %s\n", row.peer->name, row.kind, row.peer->needs);
            continue;
        }
        own = row.peer == kPeers ? row.time : own;
        printf("%-13s | %-13s | %6.0f %6.0f %7.1fx | %8zu\n", row.peer->name, row.kind, row.time, row.cpu,
               row.time / own, row.commands);
    }
}

std::string quoted(const std::string &text) {
    std::string result = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < ' ') {
            char escape[8];
            snprintf(escape, sizeof escape, "\\u%04x", c);
            result += escape;
            continue;
        }
        if (c == '"' || c == '\\') {
            result += '\\';
        }
        result += c;
    }
    return result + '"';
}

const char *boolean(bool value) {
    return value ? "true" : "false";
}

void print_json(const Setting &setting, const std::vector<Row> &rows, const std::vector<PeerRow> &peers) {
    printf(
        "{\"machine\": %s, \"core\": %d, \"runs\": %u, \"budget\": {\"instruction_ratio\": %.2f, \"added_us\": %.0f},\n"
        " \"requests\": [",
        quoted(setting.machine).c_str(), setting.core, setting.runs, kInstructionBudget, kTimeAim);
    const char *separator = "\n";
    for (const Row &row : rows) {
        printf(
            "%s  {\"name\": %s,\n"
            "   \"us\": {\"floor\": %.1f, \"app\": %.1f, \"added\": %.1f, \"added_cpu\": %.1f, \"required\": %.1f, "
            "\"own\": %.1f, \"own_cpu\": %.1f},\n"
            "   \"instructions\": {\"floor\": %llu, \"with_required\": %llu, \"app\": %llu, \"ratio\": %.3f, "
            "\"budget\": %.2f, \"growth\": %.3f},\n"
            "   \"system_calls\": {\"floor\": %u, \"app\": %u}, \"dirty_kib\": {\"floor\": %u, \"bare\": %u, \"app\": "
            "%u}, "
            "\"resident_kib\": {\"floor\": %u, \"app\": %u},\n"
            "   \"instructions_hold\": %s, \"time_holds\": %s, \"commands_hold\": %s, \"memory_holds\": %s,\n"
            "   \"commands\": [",
            separator, quoted(row.kind->name).c_str(), row.time.floor, row.time.program, row.added_time, row.added_cpu,
            row.required_time, row.own_time, row.own_cpu, to_print(row.count.floor), to_print(row.count.steps),
            to_print(row.count.program), row.judged_ratio(), std::isinf(row.budget) ? 0 : row.budget, row.own_growth,
            row.trace.floor.system_calls, row.trace.program.system_calls, row.trace.floor.most_dirty,
            row.trace.steps.most_dirty, row.trace.program.most_dirty, row.trace.floor.most_resident,
            row.trace.program.most_resident, boolean(row.count_holds()), boolean(row.time_holds()),
            boolean(row.commands_hold()), boolean(row.memory_holds()));
        for (size_t i = 0; i < row.trace.program.commands.size(); ++i) {
            printf("%s%s", i == 0 ? "" : ", ", quoted(row.trace.program.commands[i]).c_str());
        }
        printf("]}");
        separator = ",\n";
    }
    printf("\n ],\n \"peers\": [");
    separator = "\n";
    for (const PeerRow &row : peers) {
        if (row.is_here) {
            printf("%s  {\"name\": %s, \"request\": %s, \"us\": %.1f, \"cpu_us\": %.1f, \"commands\": %zu}", separator,
                   quoted(row.peer->name).c_str(), quoted(row.kind).c_str(), row.time, row.cpu, row.commands);
            separator = ",\n";
        }
    }
    printf("\n]}\n");
}

int measure_all(const char *root, unsigned runs, bool quick, bool is_static, bool json) {
    if (chroot(root) != 0 || chdir("/") != 0) {
        throw std::runtime_error(std::string("can't change the root to ") + root + ": " + strerror(errno));
    }
    utsname system = {};
    uname(&system);
    const Setting setting = {std::string(system.sysname) + " " + system.release + ", " + processor_name(),
                             pin_to_one_core(), runs};
    signal(SIGUSR1, SIG_IGN);  // a home's DHCP server; see move_into()
    fill_tables();
    join_mesh();
    std::vector<Row> rows;
    for (const Kind &kind : main_kinds()) {
        if (kind.home.clients > 0 && is_static) {
            continue;
        }
        rows.push_back(measure(kind, runs, is_static));
        rows.back().own_growth = growth_of(rows.back(), rows);
    }
    std::vector<PeerRow> peers;
    if (!quick) {
        peers = measure_peers((runs + 3) / 4);
        move_into({1, false});
        for (const Kind &kind : object_kinds()) {
            rows.push_back(measure(kind, runs, is_static));
        }
    }
    if (json) {
        print_json(setting, rows, peers);
    } else {
        print_table(setting, rows);
        print_peers(peers);
    }
    const bool holds = std::all_of(rows.begin(), rows.end(), [](const Row &row) { return row.holds(); });
    return holds ? 0 : 1;
}

void list_bodies() {
    for (const auto *kinds : {&main_kinds(), &object_kinds()}) {
        for (const Kind &kind : *kinds) {
            printf("%s\n", kind.body);
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    const char *root = nullptr;
    unsigned long runs = 500;
    bool json = false;
    bool quick = false;
    bool is_static = false;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (strcmp(argv[i], "--quick") == 0) {
            quick = true;
        } else if (strcmp(argv[i], "--static") == 0) {
            is_static = true;
        } else if (strcmp(argv[i], "--list") == 0) {
            list_bodies();
            return 0;
        } else if (strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
            runs = strtoul(argv[++i], nullptr, 10);
        } else {
            root = argv[i];
        }
    }
    if (root == nullptr || runs < 1) {
        fprintf(stderr, "usage: %s [--runs N] [--quick] [--static] [--json] ROOT\n       %s --list\n", argv[0],
                argv[0]);
        return 2;
    }
    try {
        return measure_all(root, static_cast<unsigned>(runs), quick, is_static, json);
    } catch (const std::exception &error) {
        fprintf(stderr, "bench: %s\n", error.what());
        return 2;
    }
}
