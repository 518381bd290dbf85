#include "tests/support/test_mqtt_peer.h"

#include <mosquitto.h>

#include <stdexcept>

namespace {

void message_trampoline(mosquitto*, void* self, const mosquitto_message* message) {
    std::string payload(static_cast<const char*>(message->payload), static_cast<size_t>(message->payloadlen));
    static_cast<test_mqtt_peer_c*>(self)->on_message(message->topic, payload);
}

void subscribe_trampoline(mosquitto*, void* self, int, int, const int*) {
    static_cast<test_mqtt_peer_c*>(self)->on_subscribed();
}

void publish_trampoline(mosquitto*, void* self, int) {
    static_cast<test_mqtt_peer_c*>(self)->on_published();
}

} // namespace

test_mqtt_peer_c::test_mqtt_peer_c(int port, const std::vector<std::string>& filters) {
    mosquitto_lib_init();
    mosq_ = mosquitto_new(nullptr, true, this);
    mosquitto_message_callback_set(mosq_, message_trampoline);
    mosquitto_subscribe_callback_set(mosq_, subscribe_trampoline);
    mosquitto_publish_callback_set(mosq_, publish_trampoline);
    if (mosquitto_connect(mosq_, "127.0.0.1", port, 60) != MOSQ_ERR_SUCCESS)
        throw std::runtime_error("test peer cannot connect to port " + std::to_string(port));
    mosquitto_loop_start(mosq_);
    for (const auto& filter : filters)
        mosquitto_subscribe(mosq_, nullptr, filter.c_str(), 0);
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, std::chrono::seconds(10),
                           [&] { return subscribed_ == static_cast<int>(filters.size()); }))
        throw std::runtime_error("test peer subscriptions not acknowledged");
}

test_mqtt_peer_c::~test_mqtt_peer_c() {
    mosquitto_disconnect(mosq_);
    mosquitto_loop_stop(mosq_, false);
    mosquitto_destroy(mosq_);
}

void test_mqtt_peer_c::publish(const std::string& topic, const std::string& payload) {
    int before;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        before = published_;
    }
    // QoS 1 so that the broker confirms it has taken the message.
    mosquitto_publish(mosq_, nullptr, topic.c_str(), static_cast<int>(payload.size()), payload.data(), 1,
                      false);
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(10), [&] { return published_ > before; });
}

std::vector<received_message_t> test_mqtt_peer_c::wait_for(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, timeout, [&] { return messages_.size() >= count; });
    return messages_;
}

std::vector<received_message_t> test_mqtt_peer_c::received() {
    std::lock_guard<std::mutex> lock(mutex_);
    return messages_;
}

void test_mqtt_peer_c::on_message(const std::string& topic, const std::string& payload) {
    std::lock_guard<std::mutex> lock(mutex_);
    messages_.push_back({topic, payload});
    changed_.notify_all();
}

void test_mqtt_peer_c::on_subscribed() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++subscribed_;
    changed_.notify_all();
}

void test_mqtt_peer_c::on_published() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++published_;
    changed_.notify_all();
}
