#pragma once
// A stream of events from another service: a thread of its own publishes the given events in
// turn, QoS 0, as fast as the broker takes them (paced so that libmosquitto's own queue stays
// small), until stopped. It rides out a broker that disappears: publishing pauses while the
// connection is down and resumes when libmosquitto has reconnected.
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

struct mosquitto;

class event_stream_c {
public:
    using event_t = std::pair<std::string, std::string>; // topic, payload

    event_stream_c(int port, std::vector<event_t> events);
    ~event_stream_c(); // stops
    event_stream_c(const event_stream_c&) = delete;
    event_stream_c& operator=(const event_stream_c&) = delete;

    void stop();
    // Events that libmosquitto accepted for sending, per entry of the list given.
    std::vector<long> published() const;
    long published_total() const;

private:
    void run();

    std::vector<event_t> events_;
    mosquitto* mosq_ = nullptr;
    std::atomic<bool> running_{true};
    std::vector<std::atomic<long>> published_;
    std::thread thread_;
};
