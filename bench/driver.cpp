// SPDX-License-Identifier: MIT
// Measures what app.cgi costs against the bare program, which does what a request requires (steps.h), and against the
// least that any request costs (floor.cpp), for each kind of request.
//
//   driver [--runs N] [--quick] [--static] [--json] ROOT
//
// --quick leaves out the kinds that are there for completeness. --static leaves out the homes: nothing can be loaded
// into a static program to play their drivers. ROOT is a router's root as bench/in_root lays it out: app.cgi, the
// floor, the store. Standard output: the table, or one JSON object. Exit status: 0 all budgets hold, 1 one is broken, 2
// it could not be measured.
//
// Only counts are judged, against the bare program: instructions, memory, and what was done. Times depend on what else
// the machine does; the floor is shown for comparison.
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
#include <iterator>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/kinds.h"
#include "bench/measure.h"
#include "platform/system_queue.h"
#include "virtual_router/apmib/items.h"

namespace {

constexpr char kProgram[] = "/web/app/app.cgi";
constexpr char kFloor[] = "/web/app/bench_floor";
constexpr char kBare[] = "/web/app/bench_bare";
constexpr char kItems[] = "/etc/items.conf";
constexpr const char *kStore = store::kWorkingPath;
constexpr char kPhone[] = "192.168.1.100";

constexpr double kGrowthBudget = 2.3;  // what is its own with twice the clients, times what it was
constexpr unsigned kDirtyBudget = 24;  // KiB of memory of its own, more than the bare program
constexpr double kTimeAim = 1.05;      // times the bare program, where commands are required

// A figure of the three programs that are compared.
template <typename Number>
struct Figures {
    Number floor;
    Number bare;
    Number program;
};

std::vector<std::string> sorted(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

// What is measured of a kind.
struct Row {
    const Kind *kind;
    double budget;  // infinite for static programs: the bare one does next to nothing, so that ratios to it say little
    // Microseconds, medians.
    Figures<double> time;
    // Medians of what neighbours show.
    double time_ratio;        // the program's time to the bare one's
    double required_time;     // the bare one over the floor
    double own_time;          // the program over the bare one
    double own_cpu;           // the same in CPU time, which other processes on the core disturb less
    Figures<uint64_t> count;  // instructions
    Figures<Trace> trace;

    double own_growth;  // of its own instructions against half the clients; 0 where there is no such row

    bool in_a_home() const { return kind->home.clients > 0; }
    bool runs_commands() const { return !trace.bare.commands.empty(); }
    int64_t own_count() const { return static_cast<int64_t>(count.program - count.bare); }
    double count_ratio() const { return static_cast<double>(count.program) / static_cast<double>(count.bare); }
    bool count_holds() const { return count_ratio() <= budget && own_growth <= kGrowthBudget; }
    // A list of clients takes what its clients take.
    bool memory_holds() const {
        return std::isinf(budget) || in_a_home() ||
               trace.program.most_dirty <= trace.bare.most_dirty + kDirtyBudget + memory_slack();
    }
    // Sorted, because the commands of a pipe start in any order.
    bool commands_hold() const { return sorted(trace.program.commands) == sorted(trace.bare.commands); }
    bool holds() const { return count_holds() && memory_holds() && commands_hold(); }
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
    replace_all(text, "{c}", std::to_string(1 + run % 11));
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

store::Records &items() {
    static store::Records records = [] {
        std::ifstream file(kItems);
        return store::read_definitions(file, kItems);
    }();
    return records;
}

// A step's item: the name, and the interface if it has one ("MIB_WLAN_SSID@0.1").
struct StepItem {
    uint32_t id;
    store::Item item;
    std::string interface;  // "0.1", or nothing
};

StepItem find_item(const std::string &text) {
    const size_t at = text.find('@');
    for (const auto &[id, record] : items()) {
        const store::Item item = store::item_of(record);
        if (text.substr(0, at) == item.name && (at != std::string::npos) == (item.slots > 1)) {
            return {id, item, at == std::string::npos ? "" : text.substr(at + 1)};
        }
    }
    throw std::runtime_error(std::string(kItems) + " has no item '" + text + "'");
}

// The bytes of a value as a step has it, in hexadecimal; a text's without the zeros behind it.
std::string value_bytes(const store::Item &item, std::string value) {
    const bool is_text = item.kind == store::kText;
    if (is_text) {
        value = value.substr(1, value.size() - 2);  // its quotes
    }
    std::string slot(store::slot_size(item), '\0');
    store::parse_value(item, value, reinterpret_cast<uint8_t *>(slot.data()));
    return in_hexadecimal(is_text ? value : slot);
}

int message_type(const std::string &name) {
    constexpr struct {
        const char *name;
        int type;
    } kTypes[] = {
        {"MSG_APP_REINIT",               MSG_APP_REINIT              },
        {"MSG_APP_SCHREBOOT",            MSG_APP_SCHREBOOT           },
        {"MSG_APP_SETQOS",               MSG_APP_SETQOS              },
        {"MSG_APP_START_SPEEDTEST",      MSG_APP_START_SPEEDTEST     },
        {"MSG_APP_REPORTOSERVER_WANSTA", MSG_APP_REPORTOSERVER_WANSTA},
        {"MSG_CALL_SYSCONF",             MSG_CALL_SYSCONF            },
    };
    for (const auto &row : kTypes) {
        if (name == row.name) {
            return row.type;
        }
    }
    throw std::runtime_error("no record is a '" + name + "'");
}

// Cuts the first word off.
std::string take_word(std::string &text) {
    const size_t end = text.find(' ');
    std::string word = text.substr(0, end);
    text = end == std::string::npos ? "" : text.substr(end + 1);
    return word;
}

// Appends a step of a kind (kinds.h) as the bare program's arguments (steps.cpp).
void add_step(std::string step, std::string &interface, std::vector<std::string> &arguments) {
    std::string word = take_word(step);
    if (word == "output") {
        take_word(step);
        arguments.insert(arguments.end(), {"popen", step});
    } else if (word == "run") {
        arguments.insert(arguments.end(), {"system", step});
    } else if (word == "commit") {
        arguments.insert(arguments.end(), {"commit", "4"});
    } else if (word == "queue") {
        const std::string type = std::to_string(message_type(take_word(step)));
        const size_t quote = step.find('"');
        const std::string text = quote == std::string::npos ? "" : step.substr(quote + 1, step.size() - quote - 2);
        arguments.insert(arguments.end(), {"queue", type + "=" + text});
    } else {
        const StepItem found = find_item(take_word(step));
        if (!found.interface.empty() && found.interface != interface) {
            interface = found.interface;
            arguments.insert(arguments.end(), {"select", interface});
        }
        const std::string bytes = word == "set" ? value_bytes(found.item, step) : step;
        arguments.insert(arguments.end(), {word, std::to_string(found.id) + (bytes.empty() ? "" : "=" + bytes)});
    }
}

// `reply_size`: of app.cgi's reply.
Request bare_request(const Kind &kind, unsigned run, size_t reply_size) {
    std::vector<std::string> arguments = {kBare};
    std::string interface;
    if (strstr(kind.body, "\"sessionid\"") != nullptr) {
        arguments.insert(arguments.end(), {"session", kSessionPath});
        add_step("get MIB_MESH_ROLE", interface, arguments);
    }
    const auto first_after = std::find(kind.steps.begin(), kind.steps.end(), "commit");
    for (auto step = kind.steps.begin(); step != kind.steps.end(); ++step) {
        if (step == first_after) {
            arguments.insert(arguments.end(), {"reply", std::to_string(reply_size)});
        }
        add_step(fill(*step, run), interface, arguments);
    }
    if (first_after == kind.steps.end()) {
        arguments.insert(arguments.end(), {"reply", std::to_string(reply_size)});
    }
    return make_request(kind.body, arguments, run, kind.home.clients > 0);
}

// The system daemon's queue, or -1.
int daemon_queue() {
    return msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), 0);
}

// What a request finds: the session, and a queue with room. Not part of what is measured.
void prepare() {
    std::ofstream(kSessionPath) << "sessionid=" << kSessionId;
    const int queue = daemon_queue();
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
    if (outcome_of(make_request("{}", {"/bin/flash", "set", "MIB_MESH_ROLE", "1"}, 0)).exit_status != 0) {
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

// Returns the size of the reply.
size_t check_answer(const Kind &kind) {
    const Outcome outcome = outcome_of(program_request(kind, 0));
    if (outcome.exit_status != kind.exit_status || outcome.reply.find(kind.expected) == std::string::npos) {
        throw std::runtime_error(std::string("'") + kind.name + "' ends with " + std::to_string(outcome.exit_status) +
                                 " and answers: " + outcome.reply);
    }
    if (outcome_of(bare_request(kind, 0, outcome.reply.size())).exit_status != 0) {
        throw std::runtime_error(std::string("the bare program fails for '") + kind.name + "'");
    }
    return outcome.reply.size();
}

// What a request leaves behind: the store, and the records for the system daemon, their types and texts.
std::string leavings() {
    std::string text = run_once(make_request("", {"/bin/flash", "all"}, 0)).reply;
    if (text.empty()) {
        throw std::runtime_error("the store can't be read");
    }
    struct {
        long type;
        char payload[kSysMsgPayload];
    } record = {};
    while (msgrcv(daemon_queue(), &record, sizeof record.payload, 0, IPC_NOWAIT) >= 0) {
        const char *argv = record.payload + offsetof(SysMsgRecord, sysconfArgv) - sizeof(int32_t);
        text += "queue " + std::to_string(record.type) + " " +
                (record.type == MSG_CALL_SYSCONF ? std::string(argv) : "") + "\n";
    }
    return text;
}

// The first line that two texts do not share, of both.
std::string first_difference(const std::string &one, const std::string &other) {
    std::istringstream lines(one);
    std::istringstream other_lines(other);
    std::string line;
    std::string other_line;
    while (line == other_line && (lines || other_lines)) {
        line.clear();
        other_line.clear();
        std::getline(lines, line);
        std::getline(other_lines, other_line);
    }
    return line + "' and '" + other_line;
}

// Whether the program leaves behind what the bare one leaves, each after the other.
void check_steps(const Kind &kind, size_t reply_size) {
    for (const unsigned run : {1U, 2U}) {
        const bool program_first = run == 2;
        const auto bare = bare_request(kind, run, reply_size);
        outcome_of(program_first ? program_request(kind, run) : bare);
        const std::string left = leavings();
        outcome_of(program_first ? bare : program_request(kind, run));
        const std::string left_then = leavings();
        if (left != left_then) {
            throw std::runtime_error(std::string("'") + kind.name + "' leaves other things behind than its steps: '" +
                                     first_difference(left, left_then) + "'");
        }
    }
}

void measure_times(const Kind &kind, unsigned runs, size_t reply_size, Row &row) {
    const unsigned warm_up = std::min(runs, 10U);
    Figures<std::vector<double>> times;
    std::vector<double> ratios;
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
        outcome.bare = outcome_of(bare_request(kind, number + 1, reply_size));
        (run % 2 == 0) ? run_program(number + 2) : run_floor(number + 2);
        if (run < warm_up) {
            continue;
        }
        times.floor.push_back(outcome.floor.microseconds);
        times.bare.push_back(outcome.bare.microseconds);
        times.program.push_back(outcome.program.microseconds);
        ratios.push_back(outcome.program.microseconds / outcome.bare.microseconds);
        required.push_back(outcome.bare.microseconds - outcome.floor.microseconds);
        own.push_back(outcome.program.microseconds - outcome.bare.microseconds);
        own_cpu.push_back(outcome.program.cpu_microseconds - outcome.bare.cpu_microseconds);
    }
    row.time = {median(times.floor), median(times.bare), median(times.program)};
    row.time_ratio = median(ratios);
    row.required_time = median(required);
    row.own_time = median(own);
    row.own_cpu = median(own_cpu);
}

// The store as a file, which is put back before each count: what a transaction costs depends on which pages are free.
std::string read_store() {
    std::ifstream file(kStore, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void prepare_with(const std::string &store) {
    prepare();
    std::ofstream(kStore, std::ios::binary) << store;
}

uint64_t count_of(const Request &request, const std::string &store) {
    prepare_with(store);
    return count_instructions(request);
}

Trace trace_of(const Request &request, const std::string &store) {
    prepare_with(store);
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
    const size_t reply_size = check_answer(kind);
    check_steps(kind, reply_size);
    Row row = {};
    row.kind = &kind;
    row.budget = is_static ? std::numeric_limits<double>::infinity() : kind.budget;
    // In a home each run takes dozens of milliseconds, and few of them tell as much.
    measure_times(kind, kind.home.clients > 0 ? (runs + 9) / 10 : runs, reply_size, row);
    const std::string store = read_store();
    row.count = {count_of(floor_request(kind, 0), store), count_of(bare_request(kind, 1, reply_size), store),
                 count_of(program_request(kind, 1), store)};
    row.trace = {trace_of(floor_request(kind, 0), store), trace_of(bare_request(kind, 1, reply_size), store),
                 trace_of(program_request(kind, 1), store)};
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
                asked.back().commands = trace_of(ask(peer, 1), read_store()).commands.size();
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
    printf("%-15s | %44s | %8s | %44s | %17s | %14s | %9s |\n", "", "microseconds, medians", "commands", "instructions",
           "system calls", "dirty", "resident");
    printf("%-15s | %6s %6s %7s %8s %6s %5s | %8s | %7s %7s %8s %6s %6s %5s | %5s %5s %5s | %4s %4s %4s | %4s %4s |\n",
           "request", "floor", "bare", "app.cgi", "required", "own", "ratio", "run", "floor", "bare", "app.cgi",
           "ratio", "budget", "grow", "floor", "bare", "app", "flr", "bare", "app", "bare", "app");
    for (const Row &row : rows) {
        const auto &[floor, bare, program] = row.trace;
        printf("%-15s | %6.0f %6.0f %7.0f %8.0f %6.0f %5.2f | %8zu | %7llu %7llu %8llu %6.2f %6.2f ", row.kind->name,
               row.time.floor, row.time.bare, row.time.program, row.required_time, row.own_time, row.time_ratio,
               program.commands.size(), to_print(row.count.floor), to_print(row.count.bare),
               to_print(row.count.program), row.count_ratio(), row.budget);
        if (row.own_growth > 0) {
            printf("%5.2f ", row.own_growth);
        } else {
            printf("%5s ", "");
        }
        printf("| %5u %5u %5u | %4u %4u %4u | %4u %4u | %s\n", floor.system_calls, bare.system_calls,
               program.system_calls, floor.most_dirty, bare.most_dirty, program.most_dirty, bare.most_resident,
               program.most_resident, verdict(row.holds()));
    }
    printf(
        "\nfloor     the least that any request costs: for comparison\n"
        "bare      a program that does what the request requires, and nothing else (bench/steps.h)\n"
        "required  bare over the floor\n"
        "own       app.cgi over bare; ratio: times bare\n"
        "commands  programs that are run, shells included\n"
        "grow      of its own instructions since half as many clients: at most %.1f\n"
        "dirty     KiB of memory that is the process's own and was written to: at most %u more than bare, except for "
        "lists of clients\n"
        "resident  KiB of memory, shared pages of libraries included\n"
        "Instructions, system calls and memory are those of the process itself, not of the commands that it "
        "starts.\n\n",
        kGrowthBudget, kDirtyBudget);
    for (const Row &row : rows) {
        if (row.runs_commands() && row.time_ratio > kTimeAim) {
            printf("%s: %.2f times bare's time, aim at %.2f (a time: not judged)\n", row.kind->name, row.time_ratio,
                   kTimeAim);
        }
        if (!row.memory_holds()) {
            printf("%s: %u KiB of memory, bare has %u: TOO MUCH\n", row.kind->name, row.trace.program.most_dirty,
                   row.trace.bare.most_dirty);
        }
        if (!row.commands_hold()) {
            printf("%s: %s, NOT WHAT IS REQUIRED: %s\n", row.kind->name, joined(row.trace.program.commands).c_str(),
                   joined(row.trace.bare.commands).c_str());
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
    printf("{\"machine\": %s, \"core\": %d, \"runs\": %u, \"load\": %s,\n \"requests\": [",
           quoted(setting.machine).c_str(), setting.core, setting.runs, load_average().c_str());
    const char *separator = "\n";
    for (const Row &row : rows) {
        printf(
            "%s  {\"name\": %s,\n"
            "   \"us\": {\"floor\": %.1f, \"bare\": %.1f, \"app\": %.1f, \"required\": %.1f, \"own\": %.1f, "
            "\"own_cpu\": %.1f, \"ratio\": %.3f},\n"
            "   \"instructions\": {\"floor\": %llu, \"bare\": %llu, \"app\": %llu, \"ratio\": %.3f, \"budget\": %.2f, "
            "\"growth\": %.3f},\n"
            "   \"system_calls\": {\"floor\": %u, \"bare\": %u, \"app\": %u}, "
            "\"dirty_kib\": {\"floor\": %u, \"bare\": %u, \"app\": %u}, "
            "\"resident_kib\": {\"floor\": %u, \"bare\": %u, \"app\": %u},\n"
            "   \"instructions_hold\": %s, \"commands_hold\": %s, \"memory_holds\": %s,\n"
            "   \"commands\": [",
            separator, quoted(row.kind->name).c_str(), row.time.floor, row.time.bare, row.time.program,
            row.required_time, row.own_time, row.own_cpu, row.time_ratio, to_print(row.count.floor),
            to_print(row.count.bare), to_print(row.count.program), row.count_ratio(),
            std::isinf(row.budget) ? 0 : row.budget, row.own_growth, row.trace.floor.system_calls,
            row.trace.bare.system_calls, row.trace.program.system_calls, row.trace.floor.most_dirty,
            row.trace.bare.most_dirty, row.trace.program.most_dirty, row.trace.floor.most_resident,
            row.trace.bare.most_resident, row.trace.program.most_resident, boolean(row.count_holds()),
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
        } else if (strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
            runs = strtoul(argv[++i], nullptr, 10);
        } else {
            root = argv[i];
        }
    }
    if (root == nullptr || runs < 1) {
        fprintf(stderr, "usage: %s [--runs N] [--quick] [--static] [--json] ROOT\n", argv[0]);
        return 2;
    }
    try {
        return measure_all(root, static_cast<unsigned>(runs), quick, is_static, json);
    } catch (const std::exception &error) {
        fprintf(stderr, "bench: %s\n", error.what());
        return 2;
    }
}
