#include "bench/bench_load.h"

#include "bench/bench_system.h"

#include <mosquitto.h>

#include <stdexcept>

namespace {

mosquitto* connect(const char* client_id, int port, void* user_data) {
    static std::once_flag library_ready;
    std::call_once(library_ready, [] { mosquitto_lib_init(); });
    mosquitto* mosq = mosquitto_new(client_id, true, user_data);
    if (mosq == nullptr) throw std::runtime_error("mosquitto_new failed");
    mosquitto_int_option(mosq, MOSQ_OPT_TCP_NODELAY, 1);
    int result = MOSQ_ERR_UNKNOWN;
    for (int attempt = 0; attempt < 100 && result != MOSQ_ERR_SUCCESS; ++attempt) {
        result = mosquitto_connect(mosq, "127.0.0.1", port, 60);
        if (result != MOSQ_ERR_SUCCESS) bench_sleep_ms(50);
    }
    if (result != MOSQ_ERR_SUCCESS) {
        mosquitto_destroy(mosq);
        throw std::runtime_error(std::string("cannot connect to the broker: ") + mosquitto_strerror(result));
    }
    return mosq;
}

void message_trampoline(mosquitto*, void* self, const mosquitto_message* message) {
    static_cast<bench_reaction_counter_c*>(self)->on_message(message);
}

void subscribed_trampoline(mosquitto*, void* self, int, int, const int*) {
    *static_cast<std::atomic<bool>*>(self) = true;
}

} // namespace

bench_reaction_counter_c::bench_reaction_counter_c(int port) {
    mosq_ = connect("bench_reactions", port, this);
    std::atomic<bool> subscribed{false};
    mosquitto_user_data_set(mosq_, &subscribed);
    mosquitto_subscribe_callback_set(mosq_, subscribed_trampoline);
    mosquitto_subscribe(mosq_, nullptr, "event_reactions/#", 0);
    for (int i = 0; i < 500 && !subscribed; ++i)
        mosquitto_loop(mosq_, 10, 1);
    if (!subscribed) throw std::runtime_error("no subscription acknowledgement from the broker");
    mosquitto_user_data_set(mosq_, this);
    mosquitto_message_callback_set(mosq_, message_trampoline);
    mosquitto_loop_start(mosq_);
}

bench_reaction_counter_c::~bench_reaction_counter_c() {
    mosquitto_disconnect(mosq_);
    mosquitto_loop_stop(mosq_, false);
    mosquitto_destroy(mosq_);
}

void bench_reaction_counter_c::begin(uint64_t events, unsigned reactions_per_event) {
    std::lock_guard<std::mutex> lock(mutex_);
    completion_ns_.assign(events, 0);
    per_event_ = reactions_per_event;
    reactions_ = 0;
    completed_ = 0;
    by_topic_.clear();
}

void bench_reaction_counter_c::on_message(const mosquitto_message* message) {
    const int64_t now = bench_now_ns();
    std::lock_guard<std::mutex> lock(mutex_);
    ++by_topic_[message->topic];
    const uint64_t reactions = ++reactions_;
    if (reactions % per_event_ != 0) return;
    const uint64_t event = reactions / per_event_ - 1;
    if (event < completion_ns_.size()) completion_ns_[event] = now;
    completed_ = event + 1;
    completed_changed_.notify_all();
}

bool bench_reaction_counter_c::wait_completed(uint64_t events, int timeout_ms) {
    std::unique_lock<std::mutex> lock(mutex_);
    return completed_changed_.wait_for(lock, std::chrono::milliseconds(timeout_ms),
                                       [&] { return completed_ >= events; });
}

std::map<std::string, uint64_t> bench_reaction_counter_c::reactions_by_topic() {
    std::lock_guard<std::mutex> lock(mutex_);
    return by_topic_;
}

bench_load_generator_c::bench_load_generator_c(int port) {
    mosq_ = connect("bench_load", port, nullptr);
}

bench_load_generator_c::~bench_load_generator_c() {
    mosquitto_disconnect(mosq_);
    mosquitto_destroy(mosq_);
}

void bench_load_generator_c::publish(const bench_event_t& event) {
    int result = mosquitto_publish(mosq_, nullptr, event.topic.c_str(),
                                   static_cast<int>(event.payload.size()), event.payload.data(), 0, false);
    if (result != MOSQ_ERR_SUCCESS)
        throw std::runtime_error(std::string("publish failed: ") + mosquitto_strerror(result));
}

void bench_load_generator_c::service() {
    mosquitto_loop(mosq_, 0, 1);
}

namespace {

// Waits for the last reactions (a dropped one would wait for ever: 10 s at most), then takes
// the latencies of the events that completed.
bench_phase_result_t finish(bench_reaction_counter_c& counter, const std::vector<int64_t>& sent_ns,
                            int64_t first_ns) {
    const uint64_t count = sent_ns.size();
    int64_t deadline = bench_now_ns() + 10000000000LL;
    uint64_t seen = counter.completed();
    while (counter.completed() < count && bench_now_ns() < deadline) {
        counter.wait_completed(count, 100);
        if (counter.completed() != seen) { // progress: give it time again
            seen = counter.completed();
            deadline = bench_now_ns() + 10000000000LL;
        }
    }
    bench_phase_result_t result;
    result.sent = count;
    result.completed = counter.completed();
    result.reactions = counter.reactions();
    const auto& done = counter.completion_ns();
    int64_t last = first_ns;
    for (uint64_t i = 0; i < count && i < result.completed; ++i) {
        result.latency_ns.push_back(done[i] - sent_ns[i]);
        if (done[i] > last) last = done[i];
    }
    result.seconds = static_cast<double>(last - first_ns) / 1e9;
    return result;
}

} // namespace

bench_phase_result_t bench_run_full_speed(bench_load_generator_c& load, bench_reaction_counter_c& counter,
                                          const bench_event_t& event, uint64_t count, uint64_t window) {
    counter.begin(count, event.reactions);
    std::vector<int64_t> sent_ns(count, 0);
    const int64_t first = bench_now_ns();
    for (uint64_t i = 0; i < count; ++i) {
        if (i - counter.completed() >= window) {
            // Refill only once half the window is answered: fewer wake-ups of this thread,
            // which shares the machine with the service.
            load.service();
            const int64_t stalled = bench_now_ns() + 10000000000LL;
            while (!counter.wait_completed(i - window / 2, 1000) && bench_now_ns() < stalled)
                load.service();
            if (i - counter.completed() >= window) { // reactions lost: count what came
                sent_ns.resize(i);
                break;
            }
        }
        sent_ns[i] = bench_now_ns();
        load.publish(event);
        if (i % 256 == 255) load.service();
    }
    return finish(counter, sent_ns, first);
}

bench_phase_result_t bench_run_fixed_rate(bench_load_generator_c& load, bench_reaction_counter_c& counter,
                                          const bench_event_t& event, uint64_t count, double per_second) {
    counter.begin(count, event.reactions);
    std::vector<int64_t> sent_ns(count, 0);
    const double period_ns = 1e9 / per_second;
    const int64_t first = bench_now_ns() + 1000000;
    for (uint64_t i = 0; i < count; ++i) {
        bench_sleep_until_ns(first + static_cast<int64_t>(static_cast<double>(i) * period_ns));
        sent_ns[i] = bench_now_ns();
        load.publish(event);
        if (i % 100 == 99) load.service();
    }
    return finish(counter, sent_ns, first);
}

bool bench_wait_until_reacting(bench_load_generator_c& load, bench_reaction_counter_c& counter,
                               const bench_event_t& event, int timeout_ms) {
    counter.begin(0, event.reactions);
    const int64_t deadline = bench_now_ns() + static_cast<int64_t>(timeout_ms) * 1000000;
    while (bench_now_ns() < deadline) {
        load.publish(event);
        load.service();
        if (counter.wait_completed(1, 100)) {
            // Let the answers to probes still under way arrive before the next phase counts.
            bench_sleep_ms(300);
            return true;
        }
    }
    return false;
}
