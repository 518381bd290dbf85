#pragma once
// The real build/ehs as systemd runs it on the controller, in the test's own network and IPC
// namespaces: a broker on localhost:1883, the demo installation's database and the change
// broadcast reader, which drains the System V queue (once it is full, the daemon drops its
// announcements). A peer plays the controller's other services: it publishes events and records
// every "event_reactions/..." command.
#include "tests/support/test_broker.h"
#include "tests/support/test_database.h"
#include "tests/support/test_mqtt_peer.h"

#include <gtest/gtest.h>

class test_daemon_c : public testing::Test {
protected:
    test_daemon_c();

    // The daemon alone. `env` comes before the defaults: the demo database, the log in the test's
    // directory, no notify socket (unread, its datagrams would block the daemon once ten are
    // queued). A key "!NAME" leaves NAME unset. `prefix` runs it under another program.
    void start_daemon(std::map<std::string, std::string> env = {}, std::vector<std::string> prefix = {});
    // Broker and reader (unless running), the daemon, and a peer once it answers.
    void start_serving();
    // A new peer, once the daemon answers a hotkey: the hotkey topic sorts last of the daemon's
    // topics, which it subscribes in order, so then every other one is in place too.
    void connect_peer();

    void send(const std::string& topic, const std::string& payload) { peer_->publish(topic, payload); }
    std::vector<std::string> settle(std::chrono::seconds timeout = std::chrono::seconds(10)) {
        return peer_->settle(timeout);
    }
    // The complete lines that the reader printed: "table<TAB>sql", line breaks as \n.
    std::vector<std::string> changes();
    std::string log() { return read_file(dir_.file("ehs.log")); }
    std::string work_dir() const { return db_.path().substr(0, db_.path().rfind('/')); }

    temp_dir_c dir_;
    test_database_c db_{test_database_c::WITH_DEMO};
    std::unique_ptr<test_broker_c> broker_;
    std::unique_ptr<process_c> reader_, daemon_;
    std::unique_ptr<test_mqtt_peer_c> peer_;
};
