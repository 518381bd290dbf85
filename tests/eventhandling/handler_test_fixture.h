#pragma once
// Handlers the way the service runs them: a real broker, the shared client's loop on its own
// thread, a real database and the ERROR log in a file. The peer plays the controller's other
// services and records every "event_reactions/..." command (and whatever else it is told to
// follow). The client answers markers on "event_reactions/~marker" without the database, so a
// test settles however broken its database is.
#include "eventhandling/ehs_alarm_handler.h"
#include "eventhandling/ehs_battery_warning_handler.h"
#include "eventhandling/ehs_input_handler.h"
#include "eventhandling/ehs_lorivant_handler.h"
#include "eventhandling/ehs_simple_event_handler.h"
#include "eventhandling/ehs_simple_event_log_handler.h"
#include "eventhandling/ehs_status_counters.h"
#include "eventhandling/ehs_supervision_handler.h"
#include "tests/support/test_broker.h"
#include "tests/support/test_database.h"
#include "tests/support/test_expect.h"
#include "tests/support/test_mqtt_peer.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>
#include <mosquitto.h>

#include <regex>
#include <thread>

// The numbers of the status line and the text of its last database error.
struct status_counts_t {
    long events, refused, reactions, errors;
    std::string last_error;
    // What happened between `before` and this reading.
    status_counts_t since(const status_counts_t& before) const {
        return {events - before.events, refused - before.refused, reactions - before.reactions,
                errors - before.errors, last_error};
    }
    bool operator==(const status_counts_t& o) const {
        return std::tie(events, refused, reactions, errors, last_error) ==
               std::tie(o.events, o.refused, o.reactions, o.errors, o.last_error);
    }
    friend std::ostream& operator<<(std::ostream& out, const status_counts_t& c) {
        return out << c.events << " events, " << c.refused << " refused, " << c.reactions << " reactions, "
                   << c.errors << " errors, last: " << c.last_error;
    }
};

inline status_counts_t status_counts() {
    const std::string text = ehs_status_counters_c::instance().status_text();
    static const std::regex line(
        R"(handled (\d+) events?, refused (\d+) payloads?, published (\d+) )"
        R"(reactions?, (\d+) database errors?(?: \(last at \S+ \d+:\d\d:\d\d: (.*)\))?)");
    std::smatch m;
    EXPECT_TRUE(std::regex_match(text, m, line)) << text;
    if (m.empty()) return {};
    return {std::stol(m[1]), std::stol(m[2]), std::stol(m[3]), std::stol(m[4]), m[5]};
}

class ehs_handler_test_c : public testing::Test {
protected:
    explicit ehs_handler_test_c(test_database_c::content_e content = test_database_c::WITH_DEMO,
                                const lines_t& filters = {"event_reactions/#"})
        : db_(content), peer_(broker_.port(), filters, true, "~marker") {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(log_path_.c_str(), 100000);
    }
    ~ehs_handler_test_c() override {
        if (loop_.joinable()) client_->stop(), loop_.join();
        ac_log_deinit();
    }

    // Every handler of the service, constructed (and so subscribed) before the connection. Two
    // busy retries: a transaction fails within 150 ms when another process holds the lock.
    void start() {
        auto& registry = db_.registry();
        handlers_ = {std::make_shared<ehs_battery_warning_handler_c>(client_, registry, retries),
                     std::make_shared<ehs_lorivant_handler_c>(client_, registry, retries),
                     std::make_shared<ehs_alarm_handler_c>(client_, registry, retries),
                     std::make_shared<ehs_input_handler_c>(client_, registry, retries),
                     std::make_shared<ehs_simple_event_handler_c>(client_, registry, retries),
                     std::make_shared<ehs_simple_event_log_handler_c>(client_, registry, retries)};
        connect();
    }
    void connect() {
        client_->register_topic("~marker", [this](const mosquitto_message* m) {
            client_->publish("event_reactions/~marker",
                             std::string(static_cast<const char*>(m->payload), m->payloadlen), false);
        });
        client_->init("127.0.0.1", broker_.port(), 60, 1);
        loop_ = std::thread([this] { client_->loop_forever(); });
        // '~' sorts after every event topic: once a marker is answered, every topic is subscribed.
        ASSERT_TRUE(
            wait_until([this] { return peer_.try_settle(std::chrono::milliseconds(100)).has_value(); },
                       std::chrono::seconds(10)));
    }
    lines_t reactions_to(const std::string& topic, const std::string& payload) {
        peer_.publish(topic, payload);
        return peer_.settle();
    }
    // Message id, group, door component and camera of each event-log row.
    std::string event_log() {
        return db_.rows(
            "SELECT message_id, event_log_group_id, lorivant_id, camera_id FROM event_log ORDER BY id");
    }
    // The log lines since the previous call.
    lines_t log() {
        lines_t lines = log_lines(log_path_);
        write_file(log_path_, "");
        return lines;
    }

    static constexpr ehs_busy_retries_t retries{2, 2};
    test_database_c db_;
    temp_dir_c dir_;
    const std::string log_path_ = dir_.file("ehs.log");
    test_broker_c broker_;
    std::shared_ptr<ac_mqtt_client_c> client_ = std::make_shared<ac_mqtt_client_c>("ehs_mqtt_client");
    test_mqtt_peer_c peer_;
    std::vector<std::shared_ptr<ehs_event_handler_c>> handlers_;
    std::thread loop_;
};
