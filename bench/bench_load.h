#pragma once
// The outside world of the service under test, over libmosquitto: a load generator that
// publishes events, and a reaction counter subscribed to "event_reactions/#" that stamps the
// moment each event's last reaction arrives. Both clients switch Nagle's algorithm off, so
// the figures are the service's and the broker's, not those of delayed ACKs.
//
// Events are matched to reactions by order: the service handles one message at a time and
// publishes all reactions of an event before the next one, over one connection, so the n-th
// group of `reactions_per_event` reactions belongs to the n-th event.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

struct mosquitto;
struct mosquitto_message;

struct bench_event_t {
    std::string topic;
    std::string payload;
    unsigned reactions = 0; // reactions the service publishes for one such event
};

class bench_reaction_counter_c {
public:
    explicit bench_reaction_counter_c(int port);
    ~bench_reaction_counter_c();
    bench_reaction_counter_c(const bench_reaction_counter_c&) = delete;
    bench_reaction_counter_c& operator=(const bench_reaction_counter_c&) = delete;

    // Starts counting a phase of `events` events; earlier reactions no longer count.
    void begin(uint64_t events, unsigned reactions_per_event);
    uint64_t reactions() const { return reactions_; }
    uint64_t completed() const { return completed_; }
    // Waits until at least `events` events are complete or `timeout_ms` passed; true when complete.
    bool wait_completed(uint64_t events, int timeout_ms);
    // Arrival time of the last reaction of each event of the phase, 0 while incomplete.
    const std::vector<int64_t>& completion_ns() const { return completion_ns_; }
    std::map<std::string, uint64_t> reactions_by_topic();

    void on_message(const mosquitto_message* message);

private:
    mosquitto* mosq_ = nullptr;
    std::vector<int64_t> completion_ns_;
    unsigned per_event_ = 1;
    std::atomic<uint64_t> reactions_{0};
    std::atomic<uint64_t> completed_{0};
    std::mutex mutex_;
    std::condition_variable completed_changed_;
    std::map<std::string, uint64_t> by_topic_;
};

// Publishes from the calling thread (no network thread of its own, so a publish goes out at
// once). QoS 0, as the controller's services publish their events.
class bench_load_generator_c {
public:
    explicit bench_load_generator_c(int port);
    ~bench_load_generator_c();
    bench_load_generator_c(const bench_load_generator_c&) = delete;
    bench_load_generator_c& operator=(const bench_load_generator_c&) = delete;

    void publish(const bench_event_t& event);
    // Reads and writes what is pending on the connection (keep-alive); call now and then.
    void service();

private:
    mosquitto* mosq_ = nullptr;
};

struct bench_phase_result_t {
    uint64_t sent = 0;
    uint64_t completed = 0;
    uint64_t reactions = 0;
    double seconds = 0;              // first publish to the last reaction
    std::vector<int64_t> latency_ns; // per completed event: last reaction minus publish
};

// As fast as the service takes them, with at most `window` events unanswered so that no
// queue on the way (broker, sockets) grows without bound or drops messages.
bench_phase_result_t bench_run_full_speed(bench_load_generator_c& load, bench_reaction_counter_c& counter,
                                          const bench_event_t& event, uint64_t count, uint64_t window);
// At a fixed rate, each publish at its own absolute time, so a late one does not shift the rest.
bench_phase_result_t bench_run_fixed_rate(bench_load_generator_c& load, bench_reaction_counter_c& counter,
                                          const bench_event_t& event, uint64_t count, double per_second);
// Publishes one event every 100 ms until its reactions come back (the service subscribes only
// after its connection is up); false after `timeout_ms`.
bool bench_wait_until_reacting(bench_load_generator_c& load, bench_reaction_counter_c& counter,
                               const bench_event_t& event, int timeout_ms);
