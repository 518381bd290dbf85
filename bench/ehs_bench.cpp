// End-to-end benchmark of the event handling service: the real daemon in a network and IPC
// namespace of its own with a real broker, a database built from sql/schema.sql and the
// benchmark's installation, a reader of the change-broadcast queue and a load generator. Beside
// it, the database work of one event alone in this process (the ceiling), the same path in
// Python as the baseline a user could write instead, and, on the large installation, one
// supervision run. Prints one table per installation; scripts/bench.sh is the documented way
// to run it.
//
// Usage: ehs_bench [--quick] [--small | --scale] [--no-python] [--ehs PATH] [--python PATH]
//   --quick      shorter phases (under a minute in all), to check that everything works
//   --small      only the small installation; --scale only the one that has lived for years
//   --no-python  without the Python baseline
//   --ehs PATH   the daemon (default: ehs next to this program)
//   --python P   interpreter with paho-mqtt for the baseline (default /usr/bin/python3)
// Exit status 0; 1 when a count does not match (rows, reactions, broadcasts), a statement
// differs from the service's, or a process failed; 2 on bad usage.
#include "bench/bench_database.h"
#include "bench/bench_load.h"
#include "bench/bench_sql_ceiling.h"
#include "bench/bench_supervision.h"
#include "bench/bench_system.h"
#include "db/cas_broadcast_hook_helper.h"
#include "utils/ac_log.h"

#include <mosquitto.h>
#include <sqlite3.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int broker_port = 1883; // the daemon's broker is localhost:1883, always
constexpr uint64_t window = 500;  // events in flight at full speed
constexpr uint64_t reported_at = 1700000000;

struct options_t {
    bool quick = false;
    bool small = true;
    bool scale = true;
    bool python = true;
    std::string ehs;
    std::string python_binary = "/usr/bin/python3";
};

// Event counts and durations of one run.
struct plan_t {
    uint64_t warm_up, throughput, latency, door_small, door_scale, python_throughput, python_latency;
    double ceiling_seconds;
};

plan_t plan_of(bool quick) {
    if (quick) return {1000, 20000, 3000, 3000, 300, 4000, 0, 0.7};
    return {5000, 100000, 20000, 20000, 2000, 30000, 5000, 3.0};
}

const bench_event_t armed_event{"events/alarmsystem/armed", R"({"alarmsystem_id":1})", 2};
const bench_event_t door_event{"events/end_device/access_granted",
                               R"({"hardware_id":1001001,"tag_id":"04A1B2C3"})", 2};

bool failed = false; // a count that does not match or a process that did not behave

// Results ----------------------------------------------------------------------------------------

struct latency_t {
    double p50_ms = 0, p99_ms = 0, max_ms = 0;
};

latency_t latency_of(std::vector<int64_t> samples) {
    latency_t latency;
    if (samples.empty()) return latency;
    std::sort(samples.begin(), samples.end());
    auto at = [&](double quantile) {
        size_t index = static_cast<size_t>(std::ceil(quantile * static_cast<double>(samples.size()))) - 1;
        return static_cast<double>(samples[std::min(index, samples.size() - 1)]) / 1e6;
    };
    latency.p50_ms = at(0.50);
    latency.p99_ms = at(0.99);
    latency.max_ms = static_cast<double>(samples.back()) / 1e6;
    return latency;
}

struct service_result_t {
    bool ran = false;
    double throughput = 0;      // armed events per second at full speed
    double door_throughput = 0; // door-component events per second at full speed
    latency_t latency;
    double cpu_full_speed = 0; // CPU seconds per 1000 events
    double cpu_fixed_rate = 0;
    bench_memory_t idle, after_warm_up, after_throughput, peak, end;
    uint64_t sent = 0, rows = 0, reactions = 0, expected_reactions = 0, broadcasts = 0;
    uint64_t log_lines = 0;
};

struct installation_result_t {
    std::string name;
    uint64_t log_rows_at_start = 0;
    bench_rate_t per_call, reused, reused_without_watchdog, reused_without_broadcast, no_read_transaction,
        service_path;
    service_result_t ehs, python;
    std::optional<bench_supervision_t> supervision;
};

// Formatting -------------------------------------------------------------------------------------

std::string grouped(double value) {
    char digits[32];
    snprintf(digits, sizeof digits, "%.0f", value);
    std::string text(digits);
    for (int at = static_cast<int>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<size_t>(at), ",");
    return text;
}

std::string format(const char* pattern, double a, double b = 0, double c = 0, double d = 0) {
    char text[128];
    snprintf(text, sizeof text, pattern, a, b, c, d);
    return text;
}

void row(const std::string& label, const std::string& value, const std::string& target = "",
         std::optional<bool> met = std::nullopt) {
    printf("  %-50s %22s   %-14s %s\n", label.c_str(), value.c_str(), target.c_str(),
           met ? (*met ? "met" : "NOT MET") : "");
}

void count_row(const std::string& label, uint64_t got, uint64_t expected) {
    bool equal = got == expected;
    if (!equal) failed = true;
    row(label, std::to_string(got) + " / " + std::to_string(expected), "equal", equal);
}

double mib(int64_t kib) {
    return static_cast<double>(kib) / 1024.0;
}

// Environment ------------------------------------------------------------------------------------

std::string command_output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return text;
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr)
        text += buffer;
    pclose(pipe);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::string cpu_model() {
    std::string info = bench_read_file("/proc/cpuinfo");
    size_t at = info.find("model name");
    if (at == std::string::npos) return "unknown CPU";
    at = info.find(':', at) + 2;
    return info.substr(at, info.find('\n', at) - at);
}

void print_header(const options_t& options) {
    utsname system{};
    uname(&system);
    char date[64];
    time_t now = time(nullptr);
    strftime(date, sizeof date, "%Y-%m-%d %H:%M %Z", localtime(&now));
    int major = 0, minor = 0, revision = 0;
    mosquitto_lib_version(&major, &minor, &revision);
    printf("ehs benchmark, %s%s\n", date,
           options.quick ? " (quick run: short phases, figures are rough)" : "");
    printf("  commit %s, build %s\n",
           command_output("git -C \"$(readlink -f " EHS_SOURCE_DIR "/bench)\" describe --always --dirty "
                          "--abbrev=10 2>/dev/null")
               .c_str(),
           EHS_BUILD_TYPE);
    printf("  %s, %ld cores online, Linux %s\n", cpu_model().c_str(), sysconf(_SC_NPROCESSORS_ONLN),
           system.release);
    printf("  SQLite %s, libmosquitto %d.%d.%d, %s\n", sqlite3_libversion(), major, minor, revision,
           command_output("mosquitto -h 2>&1 | head -n 1").c_str());
    printf("  load: %s on 127.0.0.1:%d with Nagle off, %llu events in flight at full speed\n\n", "one broker",
           broker_port, static_cast<unsigned long long>(window));
}

// The services under test ------------------------------------------------------------------------

struct context_t {
    const options_t& options;
    const plan_t& plan;
    bench_temp_dir_c& dir;
    bench_notify_listener_c& notify;
    bench_queue_drain_c& drain;
};

std::unique_ptr<bench_process_c> start_ehs(context_t& context, const std::string& db_name,
                                           const std::string& log_path) {
    const uint64_t ready_before = context.notify.ready_count();
    auto process = std::make_unique<bench_process_c>(
        std::vector<std::string>{context.options.ehs},
        std::map<std::string, std::string>{{"EHS_WORK_DIR", context.dir.path() + "/"},
                                           {"ACS_DB_FILE", db_name},
                                           {"EHS_LOG_FILE", log_path},
                                           {"NOTIFY_SOCKET", context.notify.path()}},
        context.dir.file("ehs.out"));
    for (int i = 0; i < 1000 && context.notify.ready_count() == ready_before && process->running(); ++i)
        bench_sleep_ms(10);
    if (context.notify.ready_count() == ready_before) throw std::runtime_error("ehs sent no READY=1");
    return process;
}

std::unique_ptr<bench_process_c> start_python(context_t& context, const std::string& db_path) {
    return std::make_unique<bench_process_c>(
        std::vector<std::string>{context.options.python_binary, EHS_SOURCE_DIR "/bench/python_baseline.py",
                                 db_path, std::to_string(broker_port)},
        std::map<std::string, std::string>{}, context.dir.file("python.out"));
}

uint64_t log_lines(const std::string& path) {
    std::string text = bench_read_file(path);
    return static_cast<uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

// One service through all phases: idle, warm-up, throughput, latency, door-component events.
service_result_t run_service(context_t& context, bool is_ehs, const std::string& db_path, bool scale) {
    const plan_t& plan = context.plan;
    service_result_t result;
    const std::string db_name = std::filesystem::path(db_path).filename().string();
    const std::string log_path = context.dir.file((scale ? "ehs-scale" : "ehs-small") + std::string(".log"));
    std::unique_ptr<bench_process_c> service =
        is_ehs ? start_ehs(context, db_name, log_path) : start_python(context, db_path);
    const pid_t pid = service->pid();
    bench_load_generator_c load(broker_port);
    bench_reaction_counter_c counter(broker_port);
    bench_sleep_ms(500); // its subscriptions follow the connection
    if (is_ehs) result.idle = bench_read_memory(pid);
    bench_memory_sampler_c sampler(pid);

    if (!bench_wait_until_reacting(load, counter, armed_event, 20000))
        throw std::runtime_error(std::string(is_ehs ? "ehs" : "the python baseline") + " does not react");
    if (!is_ehs) result.idle = bench_read_memory(pid); // the interpreter loads its modules lazily
    const uint64_t rows_before = bench_count(db_path);
    const uint64_t broadcasts_before = context.drain.matching();

    auto account = [&](const bench_phase_result_t& phase, const bench_event_t& event) {
        result.sent += phase.sent;
        result.reactions += phase.reactions;
        result.expected_reactions += phase.sent * event.reactions;
    };

    account(
        bench_run_full_speed(load, counter, armed_event, is_ehs ? plan.warm_up : plan.warm_up / 2, window),
        armed_event);
    result.after_warm_up = bench_read_memory(pid);

    const uint64_t throughput_events = is_ehs ? plan.throughput : plan.python_throughput;
    double cpu = bench_cpu_seconds(pid);
    bench_phase_result_t phase = bench_run_full_speed(load, counter, armed_event, throughput_events, window);
    result.cpu_full_speed = (bench_cpu_seconds(pid) - cpu) * 1000.0 / static_cast<double>(phase.sent);
    result.throughput = static_cast<double>(phase.completed) / phase.seconds;
    account(phase, armed_event);
    result.after_throughput = bench_read_memory(pid);

    const uint64_t latency_events = is_ehs ? plan.latency : plan.python_latency;
    if (latency_events > 0) {
        cpu = bench_cpu_seconds(pid);
        phase = bench_run_fixed_rate(load, counter, armed_event, latency_events, 1000.0);
        result.cpu_fixed_rate = (bench_cpu_seconds(pid) - cpu) * 1000.0 / static_cast<double>(phase.sent);
        result.latency = latency_of(phase.latency_ns);
        account(phase, armed_event);
    }
    const uint64_t rows_armed = result.sent;

    if (is_ehs) {
        phase = bench_run_full_speed(load, counter, door_event, scale ? plan.door_scale : plan.door_small,
                                     window);
        result.door_throughput = static_cast<double>(phase.completed) / phase.seconds;
        account(phase, door_event);
    }

    bench_sleep_ms(200); // the last commit's broadcast
    result.rows = bench_count(db_path) - rows_before;
    result.sent = rows_armed; // door-component events write no row: compare rows with armed events
    result.broadcasts = context.drain.matching() - broadcasts_before;
    result.end = bench_read_memory(pid);
    result.peak = sampler.peak();
    result.peak.peak_rss_kib = result.end.peak_rss_kib;
    if (!service->running()) {
        failed = true;
        fprintf(stderr, "the service under test exited during the run\n");
    }
    service->stop();
    if (is_ehs) result.log_lines = log_lines(log_path);
    result.ran = true;
    return result;
}

// Report -----------------------------------------------------------------------------------------

void print_installation(const installation_result_t& r, const plan_t& plan) {
    printf("== %s ==\n", r.name.c_str());
    printf("  %-56s %10s %11s %11s\n", "SQL work of one armed event, one process, no MQTT", "events/s",
           "us/event", "CPU us");
    auto rate = [](const char* label, const bench_rate_t& value) {
        printf("  %-56s %10s %11.1f %11.1f\n", label, grouped(value.per_second()).c_str(),
               value.us_per_event(), value.cpu_us_per_event());
    };
    rate("statements prepared per call", r.per_call);
    rate("statements reused: the ceiling", r.reused);
    rate("  without the watchdog pet at each commit (no systemd)", r.reused_without_watchdog);
    rate("  without the change broadcast at all", r.reused_without_broadcast);
    rate("  lookup reads each on their own (no read transaction)", r.no_read_transaction);
    rate("the service's own path without MQTT (DAOs, JSON)", r.service_path);
    printf("\n");

    const service_result_t& e = r.ehs;
    printf("  %-50s %22s   %-14s\n", "ehs end to end, through the broker", "", "target");
    row("throughput, armed events (events/s, full speed)", grouped(e.throughput));
    const double of_ceiling = e.throughput / r.reused.per_second();
    row("  of the SQL ceiling (statements reused)", format("%.0f%%", of_ceiling * 100), ">= 80%",
        of_ceiling >= 0.8);
    // The same comparison by CPU time, which a busy machine does not distort as much.
    const double cpu_ratio = e.cpu_full_speed * 1000.0 / r.reused.cpu_us_per_event();
    row("  CPU per event against the ceiling's", format("%.2fx", cpu_ratio), "<= 1.25x", cpu_ratio <= 1.25);
    if (r.python.ran) {
        const double ratio = e.throughput / r.python.throughput;
        row("  of the Python baseline", format("%.1fx", ratio), ">= 2x", ratio >= 2.0);
    }
    if (e.latency.max_ms > 0)
        row("latency at 1000 events/s, p50 / p99 / max (ms)",
            format("%.3f / %.3f / %.2f", e.latency.p50_ms, e.latency.p99_ms, e.latency.max_ms), "p99 < 0.5",
            e.latency.p99_ms < 0.5);
    row("CPU per 1000 events, full speed (s)", format("%.3f", e.cpu_full_speed), "< 0.1",
        e.cpu_full_speed < 0.1);
    if (e.cpu_fixed_rate > 0)
        row("CPU per 1000 events, at 1000 events/s (s)", format("%.3f", e.cpu_fixed_rate), "< 0.1",
            e.cpu_fixed_rate < 0.1);
    row("Private_Dirty idle / peak / end (MiB)",
        format("%.2f / %.2f / %.2f", mib(e.idle.private_dirty_kib), mib(e.peak.private_dirty_kib),
               mib(e.end.private_dirty_kib)),
        "< 2 idle", mib(e.idle.private_dirty_kib) < 2.0);
    const int64_t growth = e.after_throughput.private_dirty_kib - e.after_warm_up.private_dirty_kib;
    row("  growth over the " + grouped(static_cast<double>(plan.throughput)) + " events after warm-up (KiB)",
        format("%+.0f", static_cast<double>(growth)), "none", growth <= 0);
    row("resident idle / peak / end (MiB)",
        format("%.2f / %.2f / %.2f", mib(e.idle.rss_kib), mib(e.peak.peak_rss_kib), mib(e.end.rss_kib)),
        "< 8", mib(e.peak.peak_rss_kib) < 8.0);
    row("door-component events (events/s, full speed)", grouped(e.door_throughput));
    count_row("event-log rows written / armed events sent", e.rows, e.sent);
    count_row("reactions received / expected", e.reactions, e.expected_reactions);
    count_row("change broadcasts of the inserts / rows written", e.broadcasts, e.rows);
    count_row("ehs log lines / the start-up line", e.log_lines, 1);

    if (r.python.ran) {
        const service_result_t& p = r.python;
        printf("\n  %-50s\n", "Python baseline (sqlite3 statement cache, paho-mqtt, same broadcast)");
        row("throughput, armed events (events/s, full speed)", grouped(p.throughput));
        if (p.latency.max_ms > 0)
            row("latency at 1000 events/s, p50 / p99 / max (ms)",
                format("%.3f / %.3f / %.2f", p.latency.p50_ms, p.latency.p99_ms, p.latency.max_ms));
        row("CPU per 1000 events, full speed (s)", format("%.3f", p.cpu_full_speed));
        row("  against ehs's", format("%.1fx", p.cpu_full_speed / e.cpu_full_speed));
        row("resident peak (MiB)", format("%.1f", mib(p.peak.peak_rss_kib)));
        count_row("event-log rows written / armed events sent", p.rows, p.sent);
        count_row("reactions received / expected", p.reactions, p.expected_reactions);
        count_row("change broadcasts of the inserts / rows written", p.broadcasts, p.rows);
    }
    if (r.supervision) {
        const bench_supervision_t& s = *r.supervision;
        printf("\n  %-50s\n", ("supervision run over " + std::to_string(s.devices) + " devices").c_str());
        row("every device reported in time (s)", format("%.4f", s.fine_seconds), "well under 1",
            s.fine_seconds < 0.25);
        row("every device silent: marked and published (s)", format("%.4f", s.missing_seconds));
        count_row("signal-loss events published / devices", s.signal_losses, s.devices);
    }
    printf("\n");
    fflush(stdout);
}

installation_result_t run_installation(context_t& context, bool scale) {
    installation_result_t result;
    const std::string db_path = context.dir.file(scale ? "scale.db" : "small.db");
    const int64_t build_start = bench_now_ns();
    bench_build_database(db_path, scale);
    const double build_seconds = static_cast<double>(bench_now_ns() - build_start) / 1e9;
    result.log_rows_at_start = bench_count(db_path);
    const uint64_t events = bench_count(db_path, "SELECT count(*) FROM event");
    const uint64_t devices = bench_count(db_path, "SELECT (SELECT count(*) FROM lorivant) + "
                                                  "(SELECT count(*) FROM repeater)");
    result.name = (scale ? "installation that has lived for years: " : "small installation: ") +
                  std::to_string(devices) + " devices, " + std::to_string(events) + " configured events, " +
                  grouped(static_cast<double>(result.log_rows_at_start)) + " event-log rows at start" +
                  (scale ? format(" (built in %.0f s)", build_seconds) : "");

    const double seconds = context.plan.ceiling_seconds;
    using statements = bench_statements_e;
    result.per_call = bench_sql_ceiling(db_path, {statements::PREPARED_PER_CALL, true, true, false}, seconds);
    result.reused = bench_sql_ceiling(db_path, {statements::REUSED, true, true, true}, seconds);
    result.reused_without_watchdog =
        bench_sql_ceiling(db_path, {statements::REUSED, true, false, true}, seconds);
    result.reused_without_broadcast =
        bench_sql_ceiling(db_path, {statements::REUSED, false, false, true}, seconds);
    result.no_read_transaction = bench_sql_ceiling(db_path, {statements::REUSED, true, true, false}, seconds);
    std::string mismatch;
    result.service_path = bench_service_path(db_path, seconds, mismatch);
    if (!mismatch.empty()) {
        failed = true;
        fprintf(stderr, "the ceiling's statements differ from the service's:\n%s", mismatch.c_str());
    }

    result.ehs = run_service(context, true, db_path, scale);
    if (context.options.python) {
        try {
            result.python = run_service(context, false, db_path, scale);
        } catch (const std::exception& e) {
            // Without paho-mqtt there is no baseline, but the service's figures still stand.
            fprintf(stderr, "no Python baseline: %s\n%s", e.what(),
                    bench_read_file(context.dir.file("python.out")).c_str());
        }
    }
    if (scale) result.supervision = bench_supervision(db_path, reported_at);
    return result;
}

void print_summary(const std::vector<installation_result_t>& results) {
    if (results.size() < 2) return;
    printf("== does an event cost more on the large installation? ==\n");
    printf("  %-50s %14s %14s\n", "", "small", "years");
    auto line = [&](const char* label, double small, double years, const char* pattern) {
        printf("  %-50s %14s %14s\n", label, format(pattern, small).c_str(), format(pattern, years).c_str());
    };
    const auto& s = results[0];
    const auto& y = results[1];
    line("SQL ceiling (us/event)", s.reused.us_per_event(), y.reused.us_per_event(), "%.1f");
    line("ehs throughput (events/s)", s.ehs.throughput, y.ehs.throughput, "%.0f");
    line("ehs latency p99 at 1000 events/s (ms)", s.ehs.latency.p99_ms, y.ehs.latency.p99_ms, "%.3f");
    line("ehs CPU per 1000 events, full speed (s)", s.ehs.cpu_full_speed, y.ehs.cpu_full_speed, "%.3f");
    printf("\n");
}

bool parse(int argc, char** argv, options_t& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--quick") {
            options.quick = true;
        } else if (arg == "--small") {
            options.scale = false;
        } else if (arg == "--scale") {
            options.small = false;
        } else if (arg == "--no-python") {
            options.python = false;
        } else if (arg == "--ehs" && i + 1 < argc) {
            options.ehs = argv[++i];
        } else if (arg == "--python" && i + 1 < argc) {
            options.python_binary = argv[++i];
        } else {
            return false;
        }
    }
    return options.small || options.scale;
}

} // namespace

int main(int argc, char** argv) {
    options_t options;
    options.ehs =
        (std::filesystem::path(std::filesystem::read_symlink("/proc/self/exe")).parent_path() / "ehs")
            .string();
    if (!parse(argc, argv, options)) {
        fprintf(stderr, "usage: ehs_bench [--quick] [--small | --scale] [--no-python] [--ehs PATH] "
                        "[--python PATH]\n");
        return 2;
    }
    try {
        bench_enter_private_namespaces();
        const plan_t plan = plan_of(options.quick);
        bench_temp_dir_c dir;
        // Errors of the in-process paths (ceiling, supervision) land here, not on the terminal.
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(dir.file("bench.log").c_str(), 0);
        cas_broadcast_hook_helper_c::instance().init();
        bench_queue_drain_c drain("INSERT INTO event_log");
        bench_notify_listener_c notify(dir.file("notify"));
        // The in-process paths pet the watchdog at each commit like the daemon does.
        setenv("NOTIFY_SOCKET", notify.path().c_str(), 1);
        bench_write_file(dir.file("mosquitto.conf"),
                         "listener " + std::to_string(broker_port) +
                             " 127.0.0.1\nallow_anonymous true\npersistence false\nset_tcp_nodelay true\n"
                             "max_queued_messages 0\n");
        bench_process_c broker({"mosquitto", "-c", dir.file("mosquitto.conf")}, {},
                               dir.file("mosquitto.log"));
        bench_wait_for_port(broker_port, 10000);
        print_header(options);

        context_t context{options, plan, dir, notify, drain};
        std::vector<installation_result_t> results;
        for (bool scale : {false, true}) {
            if ((scale && !options.scale) || (!scale && !options.small)) continue;
            results.push_back(run_installation(context, scale));
            print_installation(results.back(), plan);
        }
        print_summary(results);
        // The supervision run logs each silent device at INFO; anything at ERROR is a failure.
        const std::string in_process_log = bench_read_file(dir.file("bench.log"));
        if (in_process_log.find(" ERROR ") != std::string::npos) {
            failed = true;
            fprintf(stderr, "errors of the in-process paths:\n%s", in_process_log.c_str());
        }
        if (!broker.running()) {
            failed = true;
            fprintf(stderr, "the broker exited: %s", bench_read_file(dir.file("mosquitto.log")).c_str());
        }
        broker.stop();
    } catch (const std::exception& e) {
        fprintf(stderr, "ehs_bench: %s\n", e.what());
        return 1;
    }
    return failed ? 1 : 0;
}
