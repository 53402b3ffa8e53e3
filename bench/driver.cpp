// Measures what app.cgi adds to the least that a request can cost (floor.cpp, steps.cpp), for each kind of request.
//
//   driver [--runs N] [--json] ROOT
//
// ROOT is a router's root as bench/in_root lays it out: app.cgi, the floor, the store. Standard output: the table, or
// one JSON object. Exit status: 0 all budgets hold, 1 one is broken, 2 it could not be measured.
//
// Only counts are judged: instructions, and the commands that were run. Times depend on what else the machine does.
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/home.h"
#include "bench/measure.h"

namespace {

constexpr char kProgram[] = "/web/app/app.cgi";
constexpr char kFloor[] = "/web/app/bench_floor";
constexpr char kSteps[] = "/web/app/bench_steps";
constexpr char kPhone[] = "192.168.1.100";

constexpr double kInstructionBudget = 1.7;  // times the floor's
constexpr double kTableBudget = 2.5;        // the same for a request that goes through a full table
constexpr double kHomeBudget = 55;          // the same for one that lists 256 clients
constexpr double kGrowthBudget = 2.3;       // what is its own with twice the clients, times what it was
constexpr double kTimeBudget = 60;          // microseconds over the floor
constexpr double kCpuBudget = 5000;         // microseconds of processor time of its own, in a home

// Something that a request must do, whoever writes app.cgi, in the words of steps.cpp.
struct Step {
    const char *way;
    const char *what;
};

struct Kind {
    const char *name;
    bool shell;            // it must run shell commands; the aim for times is for the others
    const char *body;      // see fill()
    const char *expected;  // what the reply must hold, so that nothing but the wanted work is measured
    int exit_status;
    double budget;  // of instructions, times the floor's; what starting shell commands takes is left out
    std::vector<Step> steps;
    Home home = {};
};

constexpr char kSessionPath[] = "/var/app_sessionid";
constexpr char kSessionId[] = "Us00112233445566778899aabbccddeeff";

// The tables are laid out by hand, because two lines a row read best:
// clang-format off

// What listing the clients of a home with radios must run.
const std::vector<Step> kListing = {
    {"system", "kill -SIGUSR1 {p}\n"},
    {"system", "flash get WLAN0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA2_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA3_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA2_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA3_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
};

constexpr char kLanStatus[] = R"({"action":"get","sessionid":"{s}","lanStatus":{}})";

// A kind is a row here, and nothing else: name, shell, body; expected, exit status, budget, steps, home.
//
// Some meet full tables (see fill_tables): 20 entries, or 10 rules. Their additions take an entry off first, which leaves
// one place. The last ones are asked in a home.
const Kind kKinds[] = {
    {"scan", true, R"({"action":"scan","guid":"{n}"})",
     R"("scanRsp")", 0, kInstructionBudget, {{"popen", "ifconfig br0"}}},
    {"login", false, R"({"action":"login","guid":"{n}","info":{"user":"admin","pwd":"admin"}})",
     R"("login success")", 0, kInstructionBudget, {}},
    {"get app", false, R"({"action":"get","sessionid":"{s}","guid":"{n}","app":{}})",
     R"("ticktime")", 0, kInstructionBudget, {}},
    {"set app", false, R"({"action":"set","sessionid":"{s}","app":{"port":{n},"ticktime":{n}}})",
     R"("error":	0)", 0, kInstructionBudget, {{"number", "4230={n}"}, {"number", "4231={n}"}, {"commit", "4"}}},
    {"set timeZone", false, R"({"action":"set","sessionid":"{s}","timeZone":{"timeZoneIndex":"{n}"}})",
     R"("error":	0)", 0, kInstructionBudget, {{"text", "153={n}"}, {"commit", "4"}}},
    {"refused", false, R"({"action":"get","sessionid":"not this one","guid":"{n}","app":{}})",
     R"("need login")", 255, kInstructionBudget, {}},
    {"logout", true, R"({"action":"set","sessionid":"{s}","logout":1})",
     R"("error":	0)", 0, kInstructionBudget, {{"system", "rm /var/app_sessionid"}}},
    {"ping", true, R"({"action":"get","sessionid":"{s}","netDig":{"ping":{"dst":"127.0.0.1"}}})",
     R"(0% packet loss)", 0, kInstructionBudget, {{"popen", "ping -c 1 -W 3 127.0.0.1 2>&1"}}},

    {"Sec full", false, R"({"action":"get","sessionid":"{s}","Sec":{}})",
     R"("020000000019")", 0, kTableBudget, {}},
    {"netAcc full", false, R"({"action":"get","sessionid":"{s}","netAcc":{}})",
     R"("020000000019")", 0, kTableBudget, {}},
    {"url full", false, R"({"action":"get","sessionid":"{s}","urlfilter":{}})",
     R"("url20")", 0, kTableBudget, {}},
    {"qos full", false, R"({"action":"get","sessionid":"{s}","qos":{}})",
     R"("index":	10)", 0, kTableBudget, {}},
    {"Sec add", false, R"({"action":"set","sessionid":"{s}","Sec":{"macFiltering":1,"delMaclist":["020000000019"],)"
                       R"("addMaclist":[["020000000019","","","1111111"]]}})",
     R"("error":	0)", 0, kTableBudget, {}},
    {"qos add", false, R"({"action":"set","sessionid":"{s}","qos":{"ipRuleMod":{"Act":"mod","index":10,)"
                       R"("ip":"192.168.1.190-192.168.1.199","ulimit":{n},"dlimit":{n}}}})",
     R"("error":	0)", 0, kTableBudget, {}},

    {"wanStatus", true, R"({"action":"get","sessionid":"{s}","wanStatus":{"getInternetSta":1}})",
     R"("dSpeed":	"4096.00")", 0, kInstructionBudget, {{"system", "killall -USR1 speedtest 2>/dev/null"}}, {1, false}},
    {"lan 1 wired", false, kLanStatus, R"("mac":	"020000000000")", 0, 2.7, {}, {1, false}},
    {"lan 256 wired", false, kLanStatus, R"("mac":	"0200000000FF")", 0, kHomeBudget, {}, {256, false}},
    {"lan 1", true, kLanStatus, R"("mac":	"020000000000")", 0, 2.7, kListing, {1, true}},
    {"lan 16", true, kLanStatus, R"("mac":	"02000000000F")", 0, 5.5, kListing, {16, true}},
    {"lan 64", true, kLanStatus, R"("mac":	"02000000003F")", 0, 14, kListing, {64, true}},
    {"lan 128", true, kLanStatus, R"("mac":	"02000000007F")", 0, 27, kListing, {128, true}},
    {"lan 256", true, kLanStatus, R"("mac":	"0200000000FF")", 0, kHomeBudget, kListing, {256, true}},
    {"mesh 256", true, R"({"action":"get","sessionid":"{s}","meshStatus":{}})",
     R"("0200000000FF")", 0, kHomeBudget, kListing, {256, true}},
};
// clang-format on

// A figure of the three programs that are compared.
template <typename Number>
struct Figures {
    Number floor;
    Number steps;  // the floor that does the kind's steps, too
    Number program;
};

// What is measured of a kind.
struct Row {
    const Kind *kind;
    // Microseconds, medians.
    Figures<double> time;
    // Microseconds, medians of the differences of neighbours.
    double added_time;                           // the program over the floor
    double added_cpu;                            // the same in CPU time, which other processes on the core disturb less
    double required_time;                        // the steps over the floor
    double own_time;                             // the program over the steps
    double own_cpu;                              // the same in CPU time
    Figures<uint64_t> count;                     // instructions
    std::vector<std::string> expected_commands;  // as the floor ran them
    std::vector<std::string> commands;           // as the program ran them

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
    bool count_holds() const { return judged_ratio() <= kind->budget && own_growth <= kGrowthBudget; }
    bool time_holds() const { return in_a_home() ? own_cpu <= kCpuBudget : kind->shell || added_time <= kTimeBudget; }
    bool commands_hold() const { return commands == expected_commands; }
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

// {s} stands for the id of the session, {p} for this process, {n} for a number of four digits that is another one in
// each run.
std::string fill(std::string text, unsigned run) {
    replace_all(text, "{s}", kSessionId);
    replace_all(text, "{p}", std::to_string(getpid()));
    replace_all(text, "{n}", std::to_string(1000 + run % 9000));
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

// Sorted, because the commands of a pipe start in any order.
std::vector<std::string> commands_of(const Request &request) {
    prepare();
    std::vector<std::string> commands = list_commands(request);
    std::sort(commands.begin(), commands.end());
    return commands;
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

Row measure(const Kind &kind, unsigned runs) {
    if (kind.home.clients > 0) {
        move_into(kind.home);
    }
    check_answer(kind);
    Row row = {};
    row.kind = &kind;
    // In a home each run takes dozens of milliseconds, and few of them tell as much.
    measure_times(kind, kind.home.clients > 0 ? (runs + 9) / 10 : runs, row);
    row.count = {count_of(floor_request(kind, 0)), count_of(steps_request(kind, 1)),
                 count_of(program_request(kind, 2))};
    row.expected_commands = commands_of(steps_request(kind, 0));
    row.commands = commands_of(program_request(kind, 0));
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

void print_table(const Setting &setting, const std::vector<Row> &rows) {
    printf("%s, core %d, %u runs of each, in turn\n\n", setting.machine.c_str(), setting.core, setting.runs);
    printf("%-13s | %53s | %61s\n", "", "microseconds, medians", "instructions");
    printf("%-13s | %6s %7s %6s %5s %8s %6s %7s | %7s %8s %8s %8s %6s %6s %6s  %s\n", "request", "floor", "app.cgi",
           "added", "cpu", "required", "own", "own cpu", "floor", "app.cgi", "required", "own", "ratio", "budget",
           "growth", "budget");
    for (const Row &row : rows) {
        const auto &[floor, steps, program] = row.count;
        printf("%-13s | %6.0f %7.0f %6.0f %5.0f %8.0f %6.0f %7.0f | %7llu %8llu %8lld %8lld %6.2f %6.2f ",
               row.kind->name, row.time.floor, row.time.program, row.added_time, row.added_cpu, row.required_time,
               row.own_time, row.own_cpu, to_print(floor), to_print(program), static_cast<long long>(steps - floor),
               static_cast<long long>(row.own_count()), row.judged_ratio(), row.kind->budget);
        if (row.own_growth > 0) {
            printf("%6.2f  %s\n", row.own_growth, verdict(row.count_holds()));
        } else {
            printf("%6s  %s\n", "", verdict(row.count_holds()));
        }
    }
    printf(
        "\nadded     over the floor; cpu: the same without the time that others had the core\n"
        "required  of it, what any program must do for this request: shell commands, writes and commits of the store\n"
        "own       the rest\n"
        "ratio     of the program's instructions to the floor's, without those that start required shell commands\n"
        "growth    of its own instructions since half as many clients: at most %.1f\n"
        "Instructions are those of the process itself, not of the commands that it starts.\n\n",
        kGrowthBudget);
    for (const Row &row : rows) {
        if (!row.time_holds()) {
            row.in_a_home()
                ? printf("%s: %.0f us of processor time of its own, aim at %.0f", row.kind->name, row.own_cpu,
                         kCpuBudget)
                : printf("%s: %.0f us over the floor, aim at %.0f", row.kind->name, row.added_time, kTimeBudget);
            printf(" (a time: not judged)\n");
        }
        if (!row.commands_hold()) {
            printf("%s: %s, NOT WHAT IS REQUIRED: %s\n", row.kind->name, joined(row.commands).c_str(),
                   joined(row.expected_commands).c_str());
        } else if (row.kind->shell) {
            printf("%s: the required commands, once each, take %.0f%% of what is added\n", row.kind->name,
                   100 * row.required_time / row.added_time);
        }
    }
}

std::string quoted(const std::string &text) {
    std::string result = "\"";
    for (const char c : text) {
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

void print_json(const Setting &setting, const std::vector<Row> &rows) {
    printf(
        "{\"machine\": %s, \"core\": %d, \"runs\": %u, \"budget\": {\"instruction_ratio\": %.2f, \"added_us\": %.0f},\n"
        " \"requests\": [",
        quoted(setting.machine).c_str(), setting.core, setting.runs, kInstructionBudget, kTimeBudget);
    const char *separator = "\n";
    for (const Row &row : rows) {
        printf(
            "%s  {\"name\": %s,\n"
            "   \"us\": {\"floor\": %.1f, \"app\": %.1f, \"added\": %.1f, \"added_cpu\": %.1f, \"required\": %.1f, "
            "\"own\": %.1f, \"own_cpu\": %.1f},\n"
            "   \"instructions\": {\"floor\": %llu, \"with_required\": %llu, \"app\": %llu, \"ratio\": %.3f, "
            "\"budget\": %.2f, \"growth\": %.3f},\n"
            "   \"instructions_hold\": %s, \"time_holds\": %s, \"commands_hold\": %s,\n"
            "   \"commands\": [",
            separator, quoted(row.kind->name).c_str(), row.time.floor, row.time.program, row.added_time, row.added_cpu,
            row.required_time, row.own_time, row.own_cpu, to_print(row.count.floor), to_print(row.count.steps),
            to_print(row.count.program), row.judged_ratio(), row.kind->budget, row.own_growth,
            boolean(row.count_holds()), boolean(row.time_holds()), boolean(row.commands_hold()));
        for (size_t i = 0; i < row.commands.size(); ++i) {
            printf("%s%s", i == 0 ? "" : ", ", quoted(row.commands[i]).c_str());
        }
        printf("]}");
        separator = ",\n";
    }
    printf("\n]}\n");
}

int measure_all(const char *root, unsigned runs, bool json) {
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
    for (const Kind &kind : kKinds) {
        rows.push_back(measure(kind, runs));
        rows.back().own_growth = growth_of(rows.back(), rows);
    }
    (json ? print_json : print_table)(setting, rows);
    const bool holds =
        std::all_of(rows.begin(), rows.end(), [](const Row &row) { return row.count_holds() && row.commands_hold(); });
    return holds ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    const char *root = nullptr;
    unsigned long runs = 500;
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
            runs = strtoul(argv[++i], nullptr, 10);
        } else {
            root = argv[i];
        }
    }
    if (root == nullptr || runs < 1) {
        fprintf(stderr, "usage: %s [--runs N] [--json] ROOT\n", argv[0]);
        return 2;
    }
    try {
        return measure_all(root, static_cast<unsigned>(runs), json);
    } catch (const std::exception &error) {
        fprintf(stderr, "bench: %s\n", error.what());
        return 2;
    }
}
