#pragma once
// The real build/ehs binary as systemd runs it on the controller: a broker on localhost:1883 (in
// this suite's own network namespace), the demo installation's database, a notify socket in
// place of systemd and the change broadcast reader draining the System V queue (without a
// reader the daemon's commits block once the queue is full).
//
// A peer plays the controller's other services: it publishes events and records every
// "event_reactions/..." command. settle() proves that everything sent so far was handled: the
// daemon handles one message at a time and publishes in order, so once the reaction to a marker
// event is in, the reactions and database writes of every earlier event are done.
#include "tests/support/test_broker.h"
#include "tests/support/test_database.h"
#include "tests/support/test_files.h"
#include "tests/support/test_mqtt_peer.h"
#include "tests/support/test_notify.h"
#include "tests/support/test_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

class ehs_daemon_test_c : public testing::Test {
protected:
    ehs_daemon_test_c();

    // Starts the broadcast reader, then the daemon with the database file `db_file` below the
    // demo database's directory.
    void start_daemon(const std::string& log_file, const std::string& db_file = "/acs.db");
    // Broker, reader and daemon up, READY=1 received and every topic subscribed.
    void start_serving();
    // A peer whose subscription is acknowledged; after a broker restart it needs a new one.
    void connect_peer();
    // Waits until a hotkey event gets its reaction. The hotkey topic is the last that the daemon
    // subscribes, so every other subscription is in place by then.
    void wait_until_subscribed();

    void send(const std::string& topic, const std::string& payload) { peer_->publish(topic, payload); }
    // The commands published since the last call, as "topic payload", sorted; markers left out.
    std::vector<std::string> settle(std::chrono::seconds timeout = std::chrono::seconds(10));

    // The changes printed by the reader so far, each "table<TAB>sql" with the SQL's own line
    // breaks, whether the reader printed them raw or as \n escapes.
    std::vector<std::string> changes();
    // Waits until at least `count` changes are in; returns all.
    std::vector<std::string> wait_for_changes(size_t count);
    // The change broadcast of one event-log insert; `values` is what the statement binds.
    static std::string event_log_insert(const std::string& values);

    std::string log() { return read_file(dir_.file("ehs.log")); }
    std::string work_dir() const;

    temp_dir_c dir_;
    test_database_c db_{test_database_c::WITH_DEMO};
    notify_listener_c notify_{dir_.file("notify.sock")};
    std::unique_ptr<test_broker_c> broker_;
    std::unique_ptr<process_c> reader_;
    std::unique_ptr<process_c> daemon_;
    std::unique_ptr<test_mqtt_peer_c> peer_;

private:
    size_t consumed_ = 0;
    int settles_ = 0;
};
