#include "mqtt/ac_mqtt_client.h"

#include "tests/support/test_broker.h"
#include "tests/support/test_expect.h"
#include "tests/support/test_mqtt_peer.h"
#include "utils/ac_log.h"
#include "utils/ac_time.h"

#include <gtest/gtest.h>
#include <mosquitto.h>

#include <mutex>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Records which callback got which topic (on the loop thread) and counts the hooks.
class recording_client_c : public ac_mqtt_client_c {
public:
    recording_client_c() : ac_mqtt_client_c("ehs_test_client") {}
    ac_mqtt_callback_t callback(const std::string& name) {
        return [this, name](const mosquitto_message* message) {
            std::lock_guard<std::mutex> lock(mutex_);
            seen_ += name + "<-" + message->topic + " ";
        };
    }
    std::string seen() {
        std::lock_guard<std::mutex> lock(mutex_);
        return seen_;
    }
    bool saw(const std::string& entry, size_t from) { return seen().find(entry, from) != std::string::npos; }
    std::atomic<int> connections{0}, disconnections{0};

protected:
    void connection_hook() override { ++connections; }
    void disconnection_hook() override { ++disconnections; }

private:
    std::mutex mutex_;
    std::string seen_;
};

class ac_mqtt_client_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(log_.c_str(), 0);
    }
    void TearDown() override { ac_log_deinit(); }
    temp_dir_c dir_;
    const std::string log_ = dir_.file("ehs.log");
    recording_client_c client_;
};

// The exact topic first, else the first filter (byte order) whose text before '#' starts the topic.
TEST_F(ac_mqtt_client_test, dispatch_duplicates_and_library_log_lines) {
    for (const char* filter : {"a/#", "a/+/c", "events/x/#", "events/#", "ab#cd", "b/#", "a/b"})
        client_.register_topic(filter, client_.callback(filter));
    client_.register_topic(std::string("a/b"), client_.callback("second")); // logged, the first stays
    for (const char* topic : std::initializer_list<const char*>{
             "a/b", "a/+/c", "a/x/c", "events/x/y", "events/", "event", "abz", "b/c", "c", nullptr}) {
        mosquitto_message message{};
        message.topic = const_cast<char*>(topic);
        client_.on_message(&message);
    }
    EXPECT_EQ(client_.seen(), "a/b<-a/b a/+/c<-a/+/c a/#<-a/x/c events/#<-events/x/y events/#<-events/ "
                              "ab#cd<-abz b/#<-b/c ");
    for (int level : {MOSQ_LOG_WARNING, MOSQ_LOG_ERR, MOSQ_LOG_INFO, MOSQ_LOG_NOTICE, MOSQ_LOG_DEBUG})
        client_.on_log(level, std::to_string(level).c_str());
    client_.publish("t", "x", false); // no instance before init
    EXPECT_EQ(log_text(log_),
              "ERROR [UTILS] in register_topic(): topic is already registered: a/b\n"
              "ERROR [UTILS] in log_callback(): mqtt: 4\n\n"
              "ERROR [UTILS] in log_callback(): mqtt: 8\n\n"
              "ERROR [UTILS] in publish(): failed to publish: Invalid function arguments provided.\n");
}

TEST_F(ac_mqtt_client_test, every_connection_subscribes_the_whole_table) {
    test_broker_c broker;
    client_.register_topic("t/1", client_.callback("t/1"));
    client_.register_topic("t/#", client_.callback("t/#"));
    client_.register_topic("bad/#/x", client_.callback("bad")); // the broker would refuse it
    ASSERT_EQ(client_.init("127.0.0.1", broker.port(), 60, 20), MOSQ_ERR_SUCCESS); // 20: the most retries
    std::thread loop([&] { client_.loop_forever(); });
    // Stops and joins the loop on every way out of the test, failed assertions included.
    std::shared_ptr<void> stop_loop(nullptr, [&](void*) {
        client_.stop();
        loop.join();
    });
    ASSERT_TRUE(wait_until([&] { return client_.connections == 1; }, 10s));
    client_.register_topic("late", client_.callback("late")); // subscribed at once
    client_.register_topic("late/#/x", client_.callback("bad"));
    test_mqtt_peer_c peer(broker.port(), {"r/#"});
    client_.publish("r/x", "{\"a\":3}", false);
    ASSERT_EQ(peer.wait_for(1, 10s).size(), 1u);
    EXPECT_EQ(peer.received()[0].topic + " " + peer.received()[0].payload, "r/x {\"a\":3}");
    // Subscriptions take effect a little after the connection: publish until they arrive.
    size_t at = 0; // where this round's arrivals begin in seen()
    auto arrived = [&] {
        for (const char* topic : {"t/1", "t/2", "late"})
            client_.publish(topic, "", false);
        return client_.saw("t/1<-t/1", at) && client_.saw("t/#<-t/2", at) && client_.saw("late<-late", at);
    };
    EXPECT_TRUE(wait_until(arrived, 10s)) << client_.seen();
    broker.stop();
    ASSERT_TRUE(wait_until([&] { return !client_.is_connected(); }, 10s));
    EXPECT_EQ(client_.disconnections.load(), 1);
    broker.start();
    ASSERT_TRUE(wait_until([&] { return client_.connections == 2; }, 15s));
    at = client_.seen().size();
    EXPECT_TRUE(wait_until(arrived, 10s)) << client_.seen();
    const std::string refused = "(): failed to subscribe: Invalid function arguments provided.\n";
    EXPECT_EQ(log_text(log_), "ERROR [UTILS] in connect_callback" + refused +
                                  "ERROR [UTILS] in register_topic" + refused +
                                  "ERROR [UTILS] in connect_callback" + refused +
                                  "ERROR [UTILS] in connect_callback" + refused);
}

TEST(ac_mqtt_client_init_test, retries_range_from_1_to_20_with_a_second_after_each_failed_attempt) {
    ac_mqtt_client_c client("c");
    for (int retries : {0, 21})
        EXPECT_EQ(thrown<std::runtime_error>([&] { client.init("127.0.0.1", 1, 60, retries); }),
                  "init(): retries value is out of range");
    const uint64_t start = ac_get_sys_time();
    EXPECT_EQ(thrown<std::runtime_error>([&] { client.init("127.0.0.1", free_loopback_port(), 60, 1); }),
              "failed to connect:Connection refused");
    EXPECT_NEAR(ac_get_sys_time(start), 1450, 450); // one attempt, one pause
}

} // namespace
