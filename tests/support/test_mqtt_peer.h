#pragma once
// The other side of the broker in tests: publishes events and records (or only counts) what
// arrives on the filters it subscribed, on libmosquitto's own thread.
//
// settle() proves that the service under test has handled everything sent before: it publishes a
// marker with a fresh tag id and waits for the answer that quotes it. The service handles one
// message at a time and publishes in order, so then every earlier publication is in too. The
// daemon answers an unknown tag at the demo's front door (the default marker topic) with an
// e-mail that quotes the event; tests that run the handlers themselves echo their own marker.
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct mosquitto;

struct received_message_t {
    std::string topic, payload;
};

class test_mqtt_peer_c {
public:
    // `keep` false: messages are only counted (a soak receives millions).
    test_mqtt_peer_c(int port, const std::vector<std::string>& filters = {}, bool keep = true,
                     std::string marker_topic = "events/end_device/tag_unknown");
    ~test_mqtt_peer_c();
    test_mqtt_peer_c(const test_mqtt_peer_c&) = delete;
    test_mqtt_peer_c& operator=(const test_mqtt_peer_c&) = delete;

    // QoS 1. `wait`: until the broker acknowledged it, so every subscriber that existed before sees
    // it. Without, it queues in libmosquitto without bound: floods and storms.
    void publish(const std::string& topic, const std::string& payload, bool wait = true);
    // Waits until `count` messages have arrived in total; returns all of them.
    std::vector<received_message_t> wait_for(size_t count, std::chrono::milliseconds timeout);
    std::vector<received_message_t> received() { return wait_for(0, std::chrono::milliseconds(0)); }
    // Messages that arrived on `topic`, or on any topic.
    long count(const std::string& topic = "");

    // What arrived since the previous call, as "topic payload", markers and answers left out;
    // nothing when the answer does not come in time.
    std::optional<std::vector<std::string>> try_settle(std::chrono::milliseconds timeout);
    // The same, failing the test when the answer does not come.
    std::vector<std::string> settle(std::chrono::milliseconds timeout = std::chrono::seconds(10));

private:
    void arrived(const std::string& topic, const std::string& payload);
    void acknowledged(long test_mqtt_peer_c::*count);

    mosquitto* mosq_ = nullptr;
    const bool keep_;
    const std::string marker_topic_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<received_message_t> messages_;
    std::map<std::string, long> counts_;
    long total_ = 0, subscribed_ = 0, published_ = 0, markers_ = 0;
    size_t taken_ = 0;
};
