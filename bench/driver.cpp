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
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/measure.h"

namespace {

constexpr char kProgram[] = "/web/app/app.cgi";
constexpr char kFloor[] = "/web/app/bench_floor";
constexpr char kSteps[] = "/web/app/bench_steps";
constexpr char kPhone[] = "192.168.1.100";

constexpr double kInstructionBudget = 1.7;  // times the floor's
constexpr double kTableBudget = 2.5;        // the same for a request that goes through a full table
constexpr double kTimeBudget = 60;          // microseconds over the floor

// Something that a request must do, whoever writes app.cgi, in the words of steps.cpp.
struct Step {
    const char *way;
    const char *what;
};

struct Kind {
    const char *name;
    bool shell;            // it must run shell commands; the budgets are for the others
    const char *body;      // see fill()
    const char *expected;  // what the reply must hold, so that nothing but the wanted work is measured
    int exit_status;
    double budget;  // of instructions, times the floor's
    std::vector<Step> steps;
};

constexpr char kSessionPath[] = "/var/app_sessionid";
constexpr char kSessionId[] = "Us00112233445566778899aabbccddeeff";

// A kind is a row here, and nothing else. The last rows meet full tables (see fill_tables): 20 entries, or 10 rules.
// Their additions take an entry off first, which leaves one place. By hand, because two lines a row read best:
// clang-format off
const Kind kKinds[] = {
    {"scan",
     true,                  R"({"action":"scan","guid":"{n}"})",
     R"("scanRsp")",                                                                                                            0,
     kInstructionBudget,                                                                                                                           {{"popen", "ifconfig br0"}}                                      },
    {"login",
     false,                 R"({"action":"login","guid":"{n}","info":{"user":"admin","pwd":"admin"}})",
     R"("login success")",                                                                                                      0,
     kInstructionBudget,                                                                                                                           {}                                                               },
    {"get app",
     false,                 R"({"action":"get","sessionid":"{s}","guid":"{n}","app":{}})",
     R"("ticktime")",                                                                                                           0,
     kInstructionBudget,                                                                                                                           {}                                                               },
    {"set app",
     false,                 R"({"action":"set","sessionid":"{s}","app":{"port":{n},"ticktime":{n}}})",
     R"("error":	0)",                                                                                                           0,
     kInstructionBudget,                                                                                                                           {{"number", "4230={n}"}, {"number", "4231={n}"}, {"commit", "4"}}},
    {"set timeZone",
     false,                 R"({"action":"set","sessionid":"{s}","timeZone":{"timeZoneIndex":"{n}"}})",
     R"("error":	0)",                                                                                                           0,
     kInstructionBudget,                                                                                                                           {{"text", "153={n}"}, {"commit", "4"}}                           },
    {"refused",
     false,                 R"({"action":"get","sessionid":"not this one","guid":"{n}","app":{}})",
     R"("need login")",                                                                                                         255,
     kInstructionBudget,                                                                                                                           {}                                                               },
    {"logout",
     true,                  R"({"action":"set","sessionid":"{s}","logout":1})",
     R"("error":	0)",                                                                                                           0,
     kInstructionBudget,                                                                                                                           {{"system", "rm /var/app_sessionid"}}                            },
    {"ping",
     true,                  R"({"action":"get","sessionid":"{s}","netDig":{"ping":{"dst":"127.0.0.1"}}})",
     R"(0% packet loss)",                                                                                                       0,
     kInstructionBudget,                                                                                                                           {{"popen", "ping -c 1 -W 3 127.0.0.1 2>&1"}}                     },
    {"Sec full",     false, R"({"action":"get","sessionid":"{s}","Sec":{}})",                              R"("020000000019")", 0,   kTableBudget, {}                                                               },
    {"netAcc full",
     false,                 R"({"action":"get","sessionid":"{s}","netAcc":{}})",
     R"("020000000019")",                                                                                                       0,
     kTableBudget,                                                                                                                                 {}                                                               },
    {"url full",     false, R"({"action":"get","sessionid":"{s}","urlfilter":{}})",                        R"("url20")",        0,   kTableBudget, {}                                                               },
    {"qos full",     false, R"({"action":"get","sessionid":"{s}","qos":{}})",                              R"("index":	10)",    0,   kTableBudget, {}                                                               },
    {"Sec add",
     false,                 R"({"action":"set","sessionid":"{s}","Sec":{"macFiltering":1,"delMaclist":["020000000019"],)"
     R"("addMaclist":[["020000000019","","","1111111"]]}})",                                    R"("error":	0)",
     0,                                                                                                                              kTableBudget,
     {}                                                                                                                                                                                                             },
    {"qos add",
     false,                 R"({"action":"set","sessionid":"{s}","qos":{"ipRuleMod":{"Act":"mod","index":10,)"
     R"("ip":"192.168.1.190-192.168.1.199","ulimit":{n},"dlimit":{n}}}})",                      R"("error":	0)",
     0,                                                                                                                              kTableBudget,
     {}                                                                                                                                                                                                             },
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
    Figures<uint64_t> count;                     // instructions
    std::vector<std::string> expected_commands;  // as the floor ran them
    std::vector<std::string> commands;           // as the program ran them

    double count_ratio() const { return static_cast<double>(count.program) / static_cast<double>(count.floor); }
    double own_count_ratio() const { return static_cast<double>(count.program) / static_cast<double>(count.steps); }
    bool has_budget() const { return !kind->shell; }
    bool count_holds() const { return !has_budget() || count_ratio() <= kind->budget; }
    bool time_holds() const { return !has_budget() || added_time <= kTimeBudget; }
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

// {s} stands for the id of the session, {n} for a number of four digits that is another one in each run.
std::string fill(std::string text, unsigned run) {
    replace_all(text, "{s}", kSessionId);
    replace_all(text, "{n}", std::to_string(1000 + run % 9000));
    return text;
}

Request make_request(const std::string &body, std::vector<std::string> command, unsigned run) {
    Request request = {std::move(command), {}, fill(body, run)};
    request.environment = {"PATH=/bin", std::string("REMOTE_ADDR=") + kPhone,
                           "CONTENT_LENGTH=" + std::to_string(request.body.size())};
    return request;
}

Request program_request(const Kind &kind, unsigned run) {
    return make_request(kind.body, {kProgram}, run);
}

Request floor_request(const Kind &kind, unsigned run) {
    return make_request(kind.body, {kFloor}, run);
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
    return make_request(kind.body, command, run);
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
    constexpr unsigned kWarmUp = 10;
    Figures<std::vector<double>> times;
    std::vector<double> added;
    std::vector<double> added_cpu;
    std::vector<double> required;
    std::vector<double> own;
    for (unsigned run = 0; run < kWarmUp + runs; ++run) {
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
        if (run < kWarmUp) {
            continue;
        }
        times.floor.push_back(outcome.floor.microseconds);
        times.steps.push_back(outcome.steps.microseconds);
        times.program.push_back(outcome.program.microseconds);
        added.push_back(outcome.program.microseconds - outcome.floor.microseconds);
        added_cpu.push_back(outcome.program.cpu_microseconds - outcome.floor.cpu_microseconds);
        required.push_back(outcome.steps.microseconds - outcome.floor.microseconds);
        own.push_back(outcome.program.microseconds - outcome.steps.microseconds);
    }
    row.time = {median(times.floor), median(times.steps), median(times.program)};
    row.added_time = median(added);
    row.added_cpu = median(added_cpu);
    row.required_time = median(required);
    row.own_time = median(own);
}

uint64_t count_of(const Request &request) {
    prepare();
    return count_instructions(request);
}

std::vector<std::string> commands_of(const Request &request) {
    prepare();
    return list_commands(request);
}

Row measure(const Kind &kind, unsigned runs) {
    check_answer(kind);
    Row row = {};
    row.kind = &kind;
    measure_times(kind, runs, row);
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
    printf("%-12s | %49s | %54s\n", "", "microseconds, medians", "instructions");
    printf("%-12s | %6s %7s %6s %6s %5s %8s %6s | %7s %8s %8s %7s %6s %6s  %s\n", "request", "floor", "app.cgi",
           "ratio", "added", "cpu", "required", "own", "floor", "app.cgi", "required", "own", "ratio", "own", "budget");
    for (const Row &row : rows) {
        const auto &[floor, steps, program] = row.count;
        printf("%-12s | %6.0f %7.0f %6.2f %6.0f %5.0f %8.0f %6.0f | %7llu %8llu %8lld %7lld %6.2f %6.2f  %s\n",
               row.kind->name, row.time.floor, row.time.program, row.time.program / row.time.floor, row.added_time,
               row.added_cpu, row.required_time, row.own_time, to_print(floor), to_print(program),
               static_cast<long long>(steps - floor), static_cast<long long>(program - steps), row.count_ratio(),
               row.own_count_ratio(), row.has_budget() ? verdict(row.count_holds()) : "-");
    }
    printf(
        "\nadded     over the floor; cpu: the same without the time that others had the core\n"
        "required  of it, what any program must do for this request: shell commands, writes and commits of the store\n"
        "own       the rest; as a ratio: app.cgi to the floor that does what is required\n"
        "budget    at most %.1f times the floor's instructions, for requests without shell commands; with a full table "
        "%.1f\n"
        "Instructions are those of the process itself, not of the commands that it starts.\n\n",
        kInstructionBudget, kTableBudget);
    for (const Row &row : rows) {
        if (!row.time_holds()) {
            printf("%s: %.0f us over the floor, aim at %.0f (a time: not judged)\n", row.kind->name, row.added_time,
                   kTimeBudget);
        }
        if (row.kind->shell || !row.commands_hold()) {
            printf("%s: %s; %s; they take %.0f%% of what is added\n", row.kind->name, joined(row.commands).c_str(),
                   row.commands_hold() ? "each is required, once" : "NOT WHAT IS REQUIRED",
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
            "\"own\": %.1f},\n"
            "   \"instructions\": {\"floor\": %llu, \"with_required\": %llu, \"app\": %llu, \"ratio\": %.3f},\n"
            "   \"has_budget\": %s, \"instructions_hold\": %s, \"time_holds\": %s, \"commands_hold\": %s,\n"
            "   \"commands\": [",
            separator, quoted(row.kind->name).c_str(), row.time.floor, row.time.program, row.added_time, row.added_cpu,
            row.required_time, row.own_time, to_print(row.count.floor), to_print(row.count.steps),
            to_print(row.count.program), row.count_ratio(), boolean(row.has_budget()), boolean(row.count_holds()),
            boolean(row.time_holds()), boolean(row.commands_hold()));
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
    fill_tables();
    std::vector<Row> rows;
    for (const Kind &kind : kKinds) {
        rows.push_back(measure(kind, runs));
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
