#include "tests/faults/event_stream.h"

#include <mosquitto.h>

#include <chrono>
#include <stdexcept>

event_stream_c::event_stream_c(int port, std::vector<event_t> events)
    : events_(std::move(events)), published_(events_.size()) {
    mosquitto_lib_init();
    mosq_ = mosquitto_new(nullptr, true, nullptr);
    if (mosq_ == nullptr || mosquitto_connect(mosq_, "127.0.0.1", port, 60) != MOSQ_ERR_SUCCESS)
        throw std::runtime_error("event stream cannot connect to port " + std::to_string(port));
    mosquitto_reconnect_delay_set(mosq_, 1, 1, false); // back as soon as the broker is
    mosquitto_loop_start(mosq_);
    thread_ = std::thread([this] { run(); });
}

event_stream_c::~event_stream_c() {
    stop();
    mosquitto_disconnect(mosq_);
    mosquitto_loop_stop(mosq_, false);
    mosquitto_destroy(mosq_);
}

void event_stream_c::stop() {
    running_ = false;
    if (thread_.joinable()) thread_.join();
}

void event_stream_c::run() {
    size_t next = 0;
    long since_pause = 0;
    while (running_) {
        const event_t& event = events_[next];
        int result = mosquitto_publish(mosq_, nullptr, event.first.c_str(),
                                       static_cast<int>(event.second.size()), event.second.data(), 0, false);
        if (result != MOSQ_ERR_SUCCESS) { // the broker is away: wait for the reconnection
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            continue;
        }
        ++published_[next];
        next = (next + 1) % events_.size();
        // QoS 0 messages queue inside libmosquitto without bound; a pause every few keeps the
        // stream at some thousand events a second.
        if (++since_pause == 20) {
            since_pause = 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
}

std::vector<long> event_stream_c::published() const {
    std::vector<long> counts;
    for (const auto& count : published_)
        counts.push_back(count.load());
    return counts;
}

long event_stream_c::published_total() const {
    long total = 0;
    for (const auto& count : published_)
        total += count.load();
    return total;
}
