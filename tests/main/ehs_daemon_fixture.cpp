#include "tests/main/ehs_daemon_fixture.h"

#include "db/cas_broadcast_message.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>

namespace {

using namespace std::chrono_literals;

// Hotkey 2 of the demo has one office-mode reaction (403) and no database write.
const char* const probe_topic = "events/rest_api/hotkey";
const char* const probe_payload = "{\"hotkey_id\":2}";
const char* const probe_reaction = "\"lorivant_event_reaction_id\":403,";
// An unknown tag at the front door is e-mailed with the event itself, tag id included, and
// written nowhere: the tag id tells one marker from the next.
const char* const marker_topic = "events/end_device/tag_unknown";
const char* const marker_tag = "\"tag_id\":\"settle-";

bool is_marker_or_probe(const received_message_t& message) {
    return message.payload.find(probe_reaction) != std::string::npos ||
           message.payload.find(marker_tag) != std::string::npos;
}

// A change starts on a line that begins with its table name and a tab; with raw line breaks the
// insert's further lines begin with blanks.
bool starts_change(const std::string& text, size_t at) {
    size_t tab = text.find('\t', at);
    if (tab == std::string::npos || tab == at) return false;
    return std::all_of(text.begin() + static_cast<long>(at), text.begin() + static_cast<long>(tab),
                       [](char c) { return (c >= 'a' && c <= 'z') || c == '_'; });
}

std::string unescape(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        char next = text[++i];
        out += next == 'n' ? '\n' : next == 't' ? '\t' : next;
    }
    return out;
}

} // namespace

ehs_daemon_test_c::ehs_daemon_test_c() {
    // Each test gets a namespace of its own under ctest; run together in one process, the tests
    // would otherwise read what an earlier test's daemon left on the queue.
    key_t key = ftok(cas_broadcast_queue_file, cas_broadcast_queue_id);
    int msqid = key == -1 ? -1 : msgget(key, 0);
    if (msqid != -1) msgctl(msqid, IPC_RMID, nullptr);
}

std::string ehs_daemon_test_c::work_dir() const {
    const std::string& path = db_.path();
    return path.substr(0, path.rfind('/'));
}

void ehs_daemon_test_c::start_daemon(const std::string& log_file, const std::string& db_file) {
    reader_ = std::make_unique<process_c>(std::vector<std::string>{EHS_BINARY_DIR "/ehs_broadcast_reader"},
                                          std::map<std::string, std::string>{}, dir_.file("broadcast.txt"),
                                          dir_.file("reader.err"));
    std::map<std::string, std::string> env = {{"NOTIFY_SOCKET", notify_.path()},
                                              {"EHS_WORK_DIR", work_dir()},
                                              {"ACS_DB_FILE", db_file},
                                              {"EHS_LOG_FILE", log_file}};
    daemon_ = std::make_unique<process_c>(std::vector<std::string>{EHS_BINARY_DIR "/ehs"}, env,
                                          dir_.file("stdout"), dir_.file("stderr"));
}

void ehs_daemon_test_c::start_serving() {
    broker_ = std::make_unique<test_broker_c>(1883);
    start_daemon(dir_.file("ehs.log"));
    ASSERT_EQ(notify_.receive(10s), "READY=1") << read_file(dir_.file("stderr"));
    connect_peer();
    wait_until_subscribed();
}

void ehs_daemon_test_c::connect_peer() {
    peer_.reset();
    peer_ = std::make_unique<test_mqtt_peer_c>(1883, std::vector<std::string>{"event_reactions/#"});
    consumed_ = 0;
}

void ehs_daemon_test_c::wait_until_subscribed() {
    auto probe_answered = [this] {
        for (const auto& m : peer_->received())
            if (m.payload.find(probe_reaction) != std::string::npos) return true;
        return false;
    };
    ASSERT_TRUE(wait_until(
        [&] {
            send(probe_topic, probe_payload);
            return wait_until(probe_answered, 200ms);
        },
        10s))
        << "the daemon never reacted to " << probe_topic;
    settle(); // answers to probes still under way land before the marker
}

std::vector<std::string> ehs_daemon_test_c::settle(std::chrono::seconds timeout) {
    std::string token = "settle-" + std::to_string(++settles_);
    send(marker_topic, "{\"hardware_id\":1001001,\"tag_id\":\"" + token + "\"}");
    std::vector<received_message_t> all;
    bool answered = wait_until(
        [&] {
            all = peer_->received();
            for (size_t i = consumed_; i < all.size(); ++i)
                if (all[i].payload.find("\"tag_id\":\"" + token + "\"") != std::string::npos) return true;
            return false;
        },
        timeout);
    EXPECT_TRUE(answered) << "no reaction to the marker " << token;
    std::vector<std::string> commands;
    for (size_t i = consumed_; i < all.size(); ++i)
        if (!is_marker_or_probe(all[i])) commands.push_back(all[i].topic + " " + all[i].payload);
    consumed_ = all.size();
    std::sort(commands.begin(), commands.end());
    return commands;
}

std::vector<std::string> ehs_daemon_test_c::changes() {
    std::string text = read_file(dir_.file("broadcast.txt"));
    std::vector<std::string> found;
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find('\n', at);
        while (end != std::string::npos && end + 1 < text.size() && !starts_change(text, end + 1))
            end = text.find('\n', end + 1);
        if (end == std::string::npos) break; // the reader is still writing this one
        found.push_back(unescape(text.substr(at, end - at)));
        at = end + 1;
    }
    return found;
}

std::vector<std::string> ehs_daemon_test_c::wait_for_changes(size_t count) {
    std::vector<std::string> found;
    wait_until(
        [&] {
            found = changes();
            return found.size() >= count;
        },
        10s);
    return found;
}

std::string ehs_daemon_test_c::event_log_insert(const std::string& values) {
    return "event_log\t\n        INSERT INTO "
           "event_log(datetime,message_id,event_log_group_id,lorivant_id,camera_id,"
           "repeater_id,user_id,slave_id,identifier)\n        VALUES (" +
           values + ")\n    ";
}
