#pragma once
// Handlers the way the service runs them: a real broker, the shared client's loop on its own
// thread, a real database. A peer plays the controller's other services: it publishes events
// and records every "event_reactions/..." command (and whatever else it is told to follow).
//
// settle() proves that everything sent so far was handled: the client has an extra topic whose
// callback answers on "event_reactions/~marker". The client handles messages one at a time and
// publishes in order, so once the answer is in, every publication before it is in too.
#include "eventhandling/ehs_alarm_handler.h"
#include "eventhandling/ehs_battery_warning_handler.h"
#include "eventhandling/ehs_input_handler.h"
#include "eventhandling/ehs_lorivant_handler.h"
#include "eventhandling/ehs_simple_event_handler.h"
#include "eventhandling/ehs_simple_event_log_handler.h"
#include "mqtt/ac_mqtt_client.h"
#include "tests/support/test_broker.h"
#include "tests/support/test_database.h"
#include "tests/support/test_mqtt_peer.h"
#include "tests/support/test_process.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>
#include <mosquitto.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using lines_t = std::vector<std::string>;

class ehs_handler_test_c : public testing::Test {
protected:
    explicit ehs_handler_test_c(test_database_c::content_e content = test_database_c::WITH_DEMO,
                                const lines_t& filters = {"event_reactions/#"})
        : db_(content), peer_(broker_.port(), filters) {}

    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(log_path_.c_str(), 100000);
    }

    void TearDown() override {
        if (loop_.joinable()) {
            client_->stop();
            loop_.join();
        }
        ac_log_deinit();
    }

    // Every handler of the service, constructed (and so subscribed) before the connection.
    void start() {
        handlers_.push_back(std::make_shared<ehs_battery_warning_handler_c>(client_, db_.registry()));
        handlers_.push_back(std::make_shared<ehs_lorivant_handler_c>(client_, db_.registry()));
        handlers_.push_back(std::make_shared<ehs_alarm_handler_c>(client_, db_.registry()));
        handlers_.push_back(std::make_shared<ehs_input_handler_c>(client_, db_.registry()));
        handlers_.push_back(std::make_shared<ehs_simple_event_handler_c>(client_, db_.registry()));
        handlers_.push_back(std::make_shared<ehs_simple_event_log_handler_c>(client_, db_.registry()));
        connect();
    }

    void connect() {
        // '~' sorts after every event topic: once the marker is answered, all topics are subscribed.
        client_->register_topic("~marker", [this](const mosquitto_message* m) {
            client_->publish(marker_answer, std::string(static_cast<const char*>(m->payload), m->payloadlen),
                             false);
        });
        client_->init("127.0.0.1", broker_.port(), 60, 1);
        loop_ = std::thread([this] { client_->loop_forever(); });
        ASSERT_TRUE(wait_until(
            [this] {
                peer_.publish("~marker", "0");
                return wait_until([this] { return answered("0"); }, std::chrono::milliseconds(100));
            },
            std::chrono::seconds(10)));
    }

    // The messages published since the last call, as "topic payload", markers left out.
    lines_t settle(std::chrono::seconds timeout = std::chrono::seconds(10)) {
        const std::string token = std::to_string(++settles_);
        peer_.publish("~marker", token);
        EXPECT_TRUE(wait_until([&] { return answered(token); }, timeout)) << "no answer to marker " << token;
        lines_t out;
        auto all = peer_.received();
        for (; taken_ < all.size() && !(all[taken_].topic == marker_answer && all[taken_].payload == token);
             ++taken_)
            if (all[taken_].topic != marker_answer)
                out.push_back(all[taken_].topic + " " + all[taken_].payload);
        return out;
    }

    lines_t reactions_to(const std::string& topic, const std::string& payload) {
        peer_.publish(topic, payload);
        return settle();
    }

    std::string event_log() {
        return db_.rows(
            "SELECT message_id, event_log_group_id, lorivant_id, camera_id FROM event_log ORDER BY id");
    }

    // The log lines without their time stamp ("11/04/2026 9:05:03 "): level, category, function, text.
    lines_t log_lines() {
        lines_t out;
        std::istringstream text(read_file(log_path_));
        for (std::string line; std::getline(text, line);)
            out.push_back(line.substr(line.find(' ', line.find(' ') + 1) + 1));
        return out;
    }

    test_database_c db_;
    temp_dir_c dir_;
    std::string log_path_ = dir_.file("ehs.log");
    test_broker_c broker_;
    std::shared_ptr<ac_mqtt_client_c> client_ = std::make_shared<ac_mqtt_client_c>("ehs_mqtt_client");
    test_mqtt_peer_c peer_;

private:
    static constexpr const char* marker_answer = "event_reactions/~marker";

    bool answered(const std::string& token) {
        auto all = peer_.received();
        return std::any_of(all.begin(), all.end(), [&](const received_message_t& m) {
            return m.topic == marker_answer && m.payload == token;
        });
    }

    std::vector<std::shared_ptr<ehs_event_handler_c>> handlers_;
    std::thread loop_;
    size_t settles_ = 0;
    size_t taken_ = 0;
};
