#include "tests/support/test_mqtt_peer.h"

#include <gtest/gtest.h>
#include <mosquitto.h>

#include <stdexcept>

namespace {

const std::string marker_tag = R"("tag_id":"settle-)";

test_mqtt_peer_c* peer(void* self) {
    return static_cast<test_mqtt_peer_c*>(self);
}

} // namespace

test_mqtt_peer_c::test_mqtt_peer_c(int port, const std::vector<std::string>& filters, bool keep,
                                   std::string marker_topic)
    : keep_(keep), marker_topic_(std::move(marker_topic)) {
    mosquitto_lib_init();
    mosq_ = mosquitto_new(nullptr, true, this);
    mosquitto_message_callback_set(mosq_, [](mosquitto*, void* self, const mosquitto_message* m) {
        peer(self)->arrived(m->topic,
                            std::string(static_cast<const char*>(m->payload), size_t(m->payloadlen)));
    });
    mosquitto_subscribe_callback_set(mosq_, [](mosquitto*, void* self, int, int, const int*) {
        peer(self)->acknowledged(&test_mqtt_peer_c::subscribed_);
    });
    mosquitto_publish_callback_set(
        mosq_, [](mosquitto*, void* self, int) { peer(self)->acknowledged(&test_mqtt_peer_c::published_); });
    mosquitto_max_inflight_messages_set(mosq_, 0); // floods are paced by the test, not the client
    if (mosquitto_connect(mosq_, "127.0.0.1", port, 60) != MOSQ_ERR_SUCCESS)
        throw std::runtime_error("test peer cannot connect to port " + std::to_string(port));
    mosquitto_loop_start(mosq_);
    for (const auto& filter : filters)
        mosquitto_subscribe(mosq_, nullptr, filter.c_str(), 0);
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, std::chrono::seconds(10),
                           [&] { return subscribed_ == long(filters.size()); }))
        throw std::runtime_error("test peer subscriptions not acknowledged");
}

test_mqtt_peer_c::~test_mqtt_peer_c() {
    mosquitto_disconnect(mosq_);
    mosquitto_loop_stop(mosq_, false);
    mosquitto_destroy(mosq_);
}

void test_mqtt_peer_c::publish(const std::string& topic, const std::string& payload, bool wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    const long before = published_;
    lock.unlock();
    mosquitto_publish(mosq_, nullptr, topic.c_str(), static_cast<int>(payload.size()), payload.data(), 1,
                      false);
    lock.lock();
    if (wait) changed_.wait_for(lock, std::chrono::seconds(10), [&] { return published_ > before; });
}

std::vector<received_message_t> test_mqtt_peer_c::wait_for(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, timeout, [&] { return messages_.size() >= count; });
    return messages_;
}

long test_mqtt_peer_c::count(const std::string& topic) {
    std::lock_guard<std::mutex> lock(mutex_);
    return topic.empty() ? total_ : counts_[topic];
}

std::optional<std::vector<std::string>> test_mqtt_peer_c::try_settle(std::chrono::milliseconds timeout) {
    const std::string token = marker_tag + std::to_string(++markers_) + "\"";
    publish(marker_topic_, R"({"hardware_id":1001001,)" + token + "}");
    std::unique_lock<std::mutex> lock(mutex_);
    size_t answer = taken_;
    if (!changed_.wait_for(lock, timeout, [&] {
            for (; answer < messages_.size(); ++answer)
                if (messages_[answer].payload.find(token) != std::string::npos) return true;
            return false;
        }))
        return std::nullopt;
    std::vector<std::string> taken;
    for (; taken_ <= answer; ++taken_)
        if (messages_[taken_].payload.find(marker_tag) == std::string::npos)
            taken.push_back(messages_[taken_].topic + " " + messages_[taken_].payload);
    return taken;
}

std::vector<std::string> test_mqtt_peer_c::settle(std::chrono::milliseconds timeout) {
    auto taken = try_settle(timeout);
    EXPECT_TRUE(taken) << "no answer to marker " << markers_ << " on " << marker_topic_;
    return taken.value_or(std::vector<std::string>{});
}

void test_mqtt_peer_c::arrived(const std::string& topic, const std::string& payload) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (keep_) messages_.push_back({topic, payload});
    ++counts_[topic];
    ++total_;
    changed_.notify_all();
}

void test_mqtt_peer_c::acknowledged(long test_mqtt_peer_c::*count) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++(this->*count);
    changed_.notify_all();
}
