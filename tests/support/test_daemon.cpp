#include "tests/support/test_daemon.h"

#include "db/cas_broadcast_message.h"

#include <sys/msg.h>

#include <sstream>

using namespace std::chrono_literals;

test_daemon_c::test_daemon_c() {
    // Run in one process (not one per test, as under ctest), a test would read what an earlier
    // test's daemon left on the queue.
    key_t key = ftok(cas_broadcast_queue_file, cas_broadcast_queue_id);
    int msqid = key == -1 ? -1 : msgget(key, 0);
    if (msqid != -1) msgctl(msqid, IPC_RMID, nullptr);
}

void test_daemon_c::start_daemon(std::map<std::string, std::string> env, std::vector<std::string> prefix) {
    for (const auto& [name, value] :
         std::map<std::string, std::string>{{"EHS_WORK_DIR", work_dir()},
                                            {"ACS_DB_FILE", "/acs.db"},
                                            {"EHS_LOG_FILE", dir_.file("ehs.log")}})
        if (!env.count("!" + name)) env.insert({name, value});
    env.insert({"!NOTIFY_SOCKET", ""});
    prefix.push_back(EHS_BINARY_DIR "/ehs");
    daemon_ = std::make_unique<process_c>(prefix, env, dir_.file("stdout"), dir_.file("stderr"));
}

void test_daemon_c::start_serving() {
    if (!broker_) broker_ = std::make_unique<test_broker_c>(1883);
    if (!reader_)
        reader_ =
            std::make_unique<process_c>(std::vector<std::string>{EHS_BINARY_DIR "/ehs_broadcast_reader"},
                                        std::map<std::string, std::string>{}, dir_.file("broadcast.txt"));
    start_daemon();
    connect_peer();
}

void test_daemon_c::connect_peer() {
    peer_.reset(); // one at a time: the old one would take the next marker too
    peer_ = std::make_unique<test_mqtt_peer_c>(1883, std::vector<std::string>{"event_reactions/#"});
    // Hotkey 2 of the demo: one office-mode command (reaction 403), no database write.
    auto answered = [this] { return peer_->count("event_reactions/end_device/lorivant") > 0; };
    ASSERT_TRUE(wait_until(
        [&] {
            send("events/rest_api/hotkey", R"({"hotkey_id":2})");
            return wait_until(answered, 200ms);
        },
        10s))
        << "the daemon never answered a hotkey: " << read_file(dir_.file("stderr"));
    settle(); // answers to probes still under way land before the marker
}

std::vector<std::string> test_daemon_c::changes() {
    std::vector<std::string> lines;
    std::istringstream text(read_file(dir_.file("broadcast.txt")));
    for (std::string line; std::getline(text, line) && !text.eof();)
        lines.push_back(line);
    return lines;
}
