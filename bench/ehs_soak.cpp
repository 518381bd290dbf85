// The soak: a long run of events through a real broker into the real daemon, as fast as it
// keeps up, counting every event-log row, every reaction and every change broadcast, and
// sampling the daemon's memory every five seconds. A measurement that prints its figures, not a
// test of the test command: scripts/soak.sh runs it (a million events; under valgrind a shorter
// run that must show no leak). Built with the tests, whose daemon fixture and peer it uses.
//
// Environment: EHS_SOAK_EVENTS (default 1000000), EHS_SOAK_WINDOW (reactions in flight, default
// 400), EHS_SOAK_VALGRIND=1 (run the daemon under valgrind's memcheck, end it with SIGTERM and
// require no leaked block and no memory error).
#include "tests/support/test_daemon.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace {

using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

const char* const reaction_topics[] = {"event_reactions/camera/video", "event_reactions/camera/snapshot",
                                       "event_reactions/external_io/output", "event_reactions/email",
                                       "event_reactions/end_device/lorivant"};
constexpr size_t reaction_kinds = std::size(reaction_topics);

struct soak_event_t {
    const char* topic;
    const char* payload;
    uint64_t message_id;            // of its event-log row, 0 for none
    long reactions[reaction_kinds]; // per reaction topic, in the order above
    long changes;                   // change broadcasts it causes
};

// The demo installation's reactions. Alarm, arming, tamper, internet loss and the key switch
// write a row and react; the time correction only writes; denied access only reacts. The key
// switch also switches the front door to office mode (two more changes).
const soak_event_t soak_events[] = {
    {"events/alarmsystem/alarm", "{\"alarmsystem_id\":1}", 40, {1, 0, 1, 0, 0}, 1},
    {"events/alarmsystem/armed", "{\"alarmsystem_id\":1}", 25, {0, 0, 0, 1, 0}, 1},
    {"events/control/tamper", "{}", 29, {0, 0, 1, 1, 0}, 1},
    {"events/control/internet_lost", "{}", 27, {0, 0, 0, 1, 0}, 1},
    {"events/ntp/time_diff", "{\"rtc_time\":1700000000,\"ntp_time\":1700000002}", 56, {0, 0, 0, 0, 0}, 1},
    {"events/external_io/input",
     "{\"connector\":\"input1\",\"signal\":\"High\",\"source\":1}",
     22,
     {0, 0, 0, 0, 1},
     3},
    {"events/end_device/access_denied",
     "{\"hardware_id\":1001001,\"tag_id\":\"04A1B2C3\"}",
     0,
     {0, 1, 0, 1, 0},
     0},
};

long count_from_env(const char* name, long fallback) {
    const char* text = getenv(name);
    return text != nullptr && *text != '\0' ? std::stol(text) : fallback;
}

std::string valgrind_line(const std::string& log, const std::string& label) {
    size_t at = log.find(label);
    return at == std::string::npos ? "" : log.substr(at, log.find('\n', at) - at);
}

class ehs_soak : public test_daemon_c {
protected:
    // The daemon's resident set in KiB, from /proc; 0 when it is gone.
    long daemon_rss_kib() {
        std::ifstream status("/proc/" + std::to_string(daemon_->pid()) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
        return 0;
    }
};

TEST_F(ehs_soak, every_event_of_a_long_run_is_logged_and_answered_with_flat_memory) {
    const long events = count_from_env("EHS_SOAK_EVENTS", 1000000),
               window = count_from_env("EHS_SOAK_WINDOW", 400);
    const bool valgrind = count_from_env("EHS_SOAK_VALGRIND", 0) == 1;
    broker_ = std::make_unique<test_broker_c>(1883);
    std::vector<std::string> prefix;
    if (valgrind)
        prefix = {"valgrind", "--leak-check=full", "--show-leak-kinds=definite,indirect",
                  "--errors-for-leak-kinds=definite,indirect", "--log-file=" + dir_.file("valgrind.log")};
    start_daemon({}, prefix);
    // Counts without keeping: a million reactions would fill the memory of this process.
    test_mqtt_peer_c peer(1883, {"event_reactions/#"}, false);
    // Hotkey 2 answers with an office-mode command and writes nothing: once it does, every topic
    // is subscribed (under valgrind the start takes long).
    ASSERT_TRUE(wait_until(
        [&] {
            peer.publish("events/rest_api/hotkey", "{\"hotkey_id\":2}");
            return wait_until([&] { return peer.count() > 0; }, 500ms);
        },
        120s))
        << read_file(dir_.file("stderr"));
    std::this_thread::sleep_for(2s); // answers to probes still under way
    long baseline[reaction_kinds];
    for (size_t kind = 0; kind < reaction_kinds; ++kind)
        baseline[kind] = peer.count(reaction_topics[kind]);
    const long baseline_total = peer.count();

    // The reader counts the change broadcasts and ends 15 s after the last one. Started now,
    // after the probes (which change nothing) and before the first event, which the queue holds
    // for it until then.
    reader_ = std::make_unique<process_c>(
        std::vector<std::string>{EHS_BINARY_DIR "/ehs_broadcast_reader", "-q", "-t", "15"},
        std::map<std::string, std::string>{}, dir_.file("broadcast-count.txt"), dir_.file("reader.err"));

    std::atomic<bool> sampling{true};
    std::vector<std::pair<long, long>> samples; // seconds since start, KiB
    std::thread sampler([&] {
        for (const auto start = steady::now(); sampling;) {
            samples.emplace_back(
                std::chrono::duration_cast<std::chrono::seconds>(steady::now() - start).count(),
                daemon_rss_kib());
            for (int i = 0; i < 50 && sampling; ++i)
                std::this_thread::sleep_for(100ms);
        }
    });
    long expected[reaction_kinds] = {};
    long expected_total = 0, expected_changes = 0;
    std::map<uint64_t, long> expected_rows;
    const auto started = steady::now();
    for (long i = 0; i < events; ++i) {
        const soak_event_t& event = soak_events[static_cast<size_t>(i) % std::size(soak_events)];
        peer.publish(event.topic, event.payload, false);
        for (size_t kind = 0; kind < reaction_kinds; ++kind) {
            expected[kind] += event.reactions[kind];
            expected_total += event.reactions[kind];
        }
        expected_changes += event.changes;
        if (event.message_id != 0) ++expected_rows[event.message_id];
        // The daemon handles one event at a time; keep a window of work queued for it, no more.
        while (expected_total - (peer.count() - baseline_total) > window)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    EXPECT_TRUE(wait_until([&] { return peer.count() - baseline_total >= expected_total; }, 120s));
    const double seconds = std::chrono::duration<double>(steady::now() - started).count();

    std::string rows_expected;
    for (const auto& entry : expected_rows)
        rows_expected += std::to_string(entry.first) + "|" + std::to_string(entry.second) + "\n";
    const std::string rows_query =
        "SELECT message_id, count(*) FROM event_log GROUP BY message_id ORDER BY message_id";
    wait_until([&] { return db_.rows(rows_query) == rows_expected; }, 60s);
    sampling = false;
    sampler.join();
    EXPECT_EQ(db_.rows(rows_query), rows_expected);
    for (size_t kind = 0; kind < reaction_kinds; ++kind)
        EXPECT_EQ(peer.count(reaction_topics[kind]) - baseline[kind], expected[kind])
            << reaction_topics[kind];
    EXPECT_TRUE(daemon_->running());
    EXPECT_EQ(log().find("ERROR"), std::string::npos) << log().substr(0, 2000);

    long peak = 0;
    for (const auto& sample : samples)
        peak = std::max(peak, sample.second);
    printf("soak: %ld events in %.0f s, %.0f events/s, window %ld reactions%s\n", events, seconds,
           events / seconds, window, valgrind ? " (daemon under valgrind)" : "");
    printf("soak: event-log rows %s, reactions %ld of %ld\n",
           db_.rows(rows_query) == rows_expected ? "all present" : "MISSING", peer.count() - baseline_total,
           expected_total);
    printf("soak: daemon RSS KiB start %ld, peak %ld, end %ld (%zu samples, every 5 s)\n",
           samples.empty() ? 0 : samples.front().second, peak, samples.empty() ? 0 : samples.back().second,
           samples.size());
    for (const auto& sample : samples)
        printf("soak: sample %lds %ld KiB\n", sample.first, sample.second);

    // The reader prints how many it read once the changes have stopped for 15 s.
    ASSERT_NE(reader_->wait_for_exit(120s), -1);
    const long broadcasts = std::stol("0" + read_file(dir_.file("broadcast-count.txt")));
    EXPECT_EQ(broadcasts, expected_changes);
    printf("soak: change broadcasts %ld of %ld\n", broadcasts, expected_changes);

    if (valgrind) {
        daemon_->signal(SIGTERM); // no handler: valgrind reports as the process ends
        ASSERT_NE(daemon_->wait_for_exit(120s), -1);
        const std::string report = read_file(dir_.file("valgrind.log"));
        const std::string errors = valgrind_line(report, "ERROR SUMMARY:");
        const std::string definite = valgrind_line(report, "definitely lost:");
        const std::string indirect = valgrind_line(report, "indirectly lost:");
        printf("soak: valgrind %s; %s; %s\n", errors.c_str(),
               definite.empty() ? "no leak summary" : definite.c_str(), indirect.c_str());
        EXPECT_NE(errors.find("ERROR SUMMARY: 0 errors"), std::string::npos) << report;
        EXPECT_TRUE(definite.empty() || definite.find("definitely lost: 0 bytes") != std::string::npos)
            << report;
        EXPECT_TRUE(indirect.empty() || indirect.find("indirectly lost: 0 bytes") != std::string::npos)
            << report;
    }
    fflush(stdout);
}

} // namespace
