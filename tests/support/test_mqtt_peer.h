#pragma once
// The other side of the broker in tests: publishes events and records what arrives on the
// filters it subscribed, on libmosquitto's own thread.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

struct mosquitto;

struct received_message_t {
    std::string topic;
    std::string payload;
};

class test_mqtt_peer_c {
public:
    test_mqtt_peer_c(int port, const std::vector<std::string>& filters = {});
    ~test_mqtt_peer_c();
    test_mqtt_peer_c(const test_mqtt_peer_c&) = delete;
    test_mqtt_peer_c& operator=(const test_mqtt_peer_c&) = delete;

    // Waits for the broker's acknowledgement, so a publish after it is seen by every
    // subscriber that existed before.
    void publish(const std::string& topic, const std::string& payload);

    // Waits until `count` messages have arrived in total; returns all of them.
    std::vector<received_message_t> wait_for(size_t count, std::chrono::milliseconds timeout);
    std::vector<received_message_t> received();

    void on_message(const std::string& topic, const std::string& payload);
    void on_subscribed();
    void on_published();

private:
    mosquitto* mosq_ = nullptr;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<received_message_t> messages_;
    int subscribed_ = 0;
    int published_ = 0;
};
