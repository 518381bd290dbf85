#include "mqtt/ac_mqtt_client.h"

#include "tests/support/test_broker.h"
#include "tests/support/test_files.h"
#include "tests/support/test_mqtt_peer.h"
#include "utils/ac_log.h"
#include "utils/ac_time.h"

#include <gtest/gtest.h>
#include <mosquitto.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Records which callback got which topic, across the loop thread and the test thread.
class inbox_c {
public:
    ac_mqtt_callback_t callback(const std::string& name) {
        return [this, name](const mosquitto_message* message) {
            std::lock_guard<std::mutex> lock(mutex_);
            entries_.push_back(name + "<-" + message->topic);
        };
    }
    std::vector<std::string> entries() {
        std::lock_guard<std::mutex> lock(mutex_);
        return entries_;
    }
    bool has(const std::string& entry) {
        auto all = entries();
        return std::find(all.begin(), all.end(), entry) != all.end();
    }

private:
    std::mutex mutex_;
    std::vector<std::string> entries_;
};

class counting_client_c : public ac_mqtt_client_c {
public:
    using ac_mqtt_client_c::ac_mqtt_client_c;
    std::atomic<int> connections{0};
    std::atomic<int> disconnections{0};

protected:
    void connection_hook() override { ++connections; }
    void disconnection_hook() override { ++disconnections; }
};

class ac_mqtt_client_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(log_path().c_str(), 10000);
    }
    void TearDown() override {
        if (loop_.joinable()) {
            client_.stop();
            loop_.join();
        }
        ac_log_deinit();
    }
    std::string log_path() const { return dir_.file("ehs.log"); }

    void connect_and_loop() {
        client_.init("127.0.0.1", broker_.port(), 60, 1);
        loop_ = std::thread([this] { client_.loop_forever(); });
        // The connection hook runs after the subscriptions, so it is the sign that both are done.
        ASSERT_TRUE(wait_until([this] { return client_.connections.load() == 1; }, 10s));
    }

    // Publishing a marker last and waiting for it proves that everything before it was handled.
    void publish_and_wait_for(test_mqtt_peer_c& peer, const std::vector<std::string>& topics,
                              const std::string& marker_entry) {
        for (const auto& topic : topics)
            peer.publish(topic, "x");
        ASSERT_TRUE(wait_until([&] { return inbox_.has(marker_entry); }, 10s)) << marker_entry;
    }

    temp_dir_c dir_;
    test_broker_c broker_;
    counting_client_c client_{"ehs_test_client"};
    inbox_c inbox_;
    std::thread loop_;
};

TEST_F(ac_mqtt_client_test, exact_topic_beats_hash_filters) {
    client_.register_topic("a/#", inbox_.callback("a/#"));
    client_.register_topic("a/b", inbox_.callback("a/b"));
    client_.register_topic("#", inbox_.callback("#"));
    connect_and_loop();
    test_mqtt_peer_c peer(broker_.port());
    // "#" sorts before "a/#", so it takes everything that has no exact entry.
    publish_and_wait_for(peer, {"a/b", "a/c", "zz"}, "#<-zz");
    EXPECT_EQ(inbox_.entries(), (std::vector<std::string>{"a/b<-a/b", "#<-a/c", "#<-zz"}));
}

TEST_F(ac_mqtt_client_test, first_matching_prefix_filter_in_byte_order_takes_the_message) {
    client_.register_topic("a/#", inbox_.callback("a/#"));
    client_.register_topic("b/#", inbox_.callback("b/#"));
    client_.register_topic("a/+/c", inbox_.callback("a/+/c"));
    client_.register_topic("zz", inbox_.callback("zz"));
    connect_and_loop();
    test_mqtt_peer_c peer(broker_.port());
    // a/x/c reaches the client through the "a/#" and "a/+/c" subscriptions but only "a/#"
    // matches here: '+' is no wildcard in the client's own table.
    publish_and_wait_for(peer, {"b/c", "a/x/c", "b/c/d", "zz"}, "zz<-zz");
    EXPECT_EQ(inbox_.entries(), (std::vector<std::string>{"b/#<-b/c", "a/#<-a/x/c", "b/#<-b/c/d", "zz<-zz"}));
}

// Filters no broker would deliver, fed straight to the dispatcher.
TEST_F(ac_mqtt_client_test, dispatch_rules_on_crafted_topics) {
    client_.register_topic("a/+/c", inbox_.callback("a/+/c"));
    client_.register_topic("events/#", inbox_.callback("events/#"));
    client_.register_topic("ab#cd", inbox_.callback("ab#cd"));
    const char* topics[] = {"a/+/c", "a/x/c", "events/x/y", "events/", "event", "abz", "nothing"};
    for (const char* topic : topics) {
        mosquitto_message message{};
        message.topic = const_cast<char*>(topic);
        client_.on_message(&message);
    }
    mosquitto_message no_topic{};
    client_.on_message(&no_topic);
    client_.on_message(nullptr);
    EXPECT_EQ(inbox_.entries(), (std::vector<std::string>{"a/+/c<-a/+/c", "events/#<-events/x/y",
                                                          "events/#<-events/", "ab#cd<-abz"}));
}

TEST_F(ac_mqtt_client_test, second_registration_is_logged_and_keeps_the_first_callback) {
    client_.register_topic("events/x", inbox_.callback("first"));
    client_.register_topic(std::string("events/x"), inbox_.callback("second"));
    connect_and_loop();
    // Registered while connected: subscribed at once.
    client_.register_topic("late", inbox_.callback("late"));
    test_mqtt_peer_c peer(broker_.port());
    publish_and_wait_for(peer, {"events/x", "late"}, "late<-late");
    EXPECT_EQ(inbox_.entries(), (std::vector<std::string>{"first<-events/x", "late<-late"}));
    std::string log = read_file(log_path());
    EXPECT_NE(log.find(" ERROR [UTILS] in register_topic(): topic is already registered: events/x\n"),
              std::string::npos)
        << log;
}

TEST_F(ac_mqtt_client_test, broker_restart_resubscribes_every_topic_without_help) {
    client_.register_topic("t/1", inbox_.callback("t/1"));
    client_.register_topic("t/#", inbox_.callback("t/#"));
    connect_and_loop();
    EXPECT_EQ(client_.connections.load(), 1);

    broker_.stop();
    ASSERT_TRUE(wait_until([this] { return !client_.is_connected(); }, 10s));
    EXPECT_EQ(client_.disconnections.load(), 1);
    broker_.start();
    ASSERT_TRUE(wait_until([this] { return client_.connections.load() == 2; }, 15s));

    test_mqtt_peer_c peer(broker_.port());
    // The subscriptions are sent right after the reconnection; retry until they are in place.
    ASSERT_TRUE(wait_until(
        [&] {
            peer.publish("t/1", "x");
            peer.publish("t/2", "x");
            return inbox_.has("t/1<-t/1") && inbox_.has("t/#<-t/2");
        },
        10s));
}

TEST_F(ac_mqtt_client_test, publish_reaches_subscribers_and_failures_are_logged) {
    connect_and_loop();
    test_mqtt_peer_c peer(broker_.port(), {"event_reactions/#"});
    client_.publish("event_reactions/camera/snapshot", "{\"camera_id\":3}", false);
    auto received = peer.wait_for(1, 10s);
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].topic, "event_reactions/camera/snapshot");
    EXPECT_EQ(received[0].payload, "{\"camera_id\":3}");

    client_.publish("bad/#", "x", false); // wildcards are not allowed in a published topic
    std::string log = read_file(log_path());
    EXPECT_NE(
        log.find(" ERROR [UTILS] in publish(): failed to publish: Invalid function arguments provided.\n"),
        std::string::npos)
        << log;
}

TEST_F(ac_mqtt_client_test, libmosquitto_warnings_and_errors_are_logged_with_an_empty_line_after) {
    client_.on_log(MOSQ_LOG_WARNING, "warned");
    client_.on_log(MOSQ_LOG_ERR, "failed");
    client_.on_log(MOSQ_LOG_INFO, "info dropped");
    client_.on_log(MOSQ_LOG_DEBUG, "debug dropped");
    std::string log = read_file(log_path());
    EXPECT_NE(log.find(" ERROR [UTILS] in log_callback(): mqtt: warned\n\n"), std::string::npos) << log;
    EXPECT_NE(log.find(" ERROR [UTILS] in log_callback(): mqtt: failed\n\n"), std::string::npos) << log;
    EXPECT_EQ(log.find("dropped"), std::string::npos);
}

TEST(ac_mqtt_client_init_test, retries_outside_1_to_20_are_refused_before_any_connection) {
    for (int retries : {0, 21, -1}) {
        SCOPED_TRACE(retries);
        ac_mqtt_client_c client("c");
        try {
            client.init("127.0.0.1", 1, 60, retries);
            FAIL() << "no exception";
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "init(): retries value is out of range");
        }
    }
    test_broker_c broker;
    for (int retries : {1, 20}) {
        ac_mqtt_client_c client("c" + std::to_string(retries));
        EXPECT_EQ(client.init("127.0.0.1", broker.port(), 60, retries), MOSQ_ERR_SUCCESS);
    }
}

TEST(ac_mqtt_client_init_test, unreachable_broker_throws_after_one_second_per_attempt) {
    int closed_port = free_loopback_port();
    ac_mqtt_client_c client("c");
    uint64_t start = ac_get_sys_time_nsec();
    try {
        client.init("127.0.0.1", closed_port, 60, 2);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "failed to connect:Connection refused");
    }
    // Two attempts, each followed by its one-second pause.
    EXPECT_GE(ac_get_sys_time_nsec(start) / 1000000u, 2000u);
}

} // namespace
