#pragma once
// The service's one link to the local broker, over libmosquitto. Keeps a table of topic filters
// with one callback each, subscribes the whole table after every (re)connection and hands each
// incoming message to exactly one callback: the exact topic first, else the first filter (in
// byte order) whose text before its first '#' is a prefix of the topic. '+' is no wildcard here.
//
// Threads: the network loop runs on the caller of loop_forever(); every callback runs there.
// Topics are registered during start-up, before the loop runs; publish() may be called from any
// thread (libmosquitto serialises it). Failures of init() throw; everything later is logged.
#include "mqtt/ac_mqtt_client_interface.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

struct mosquitto;
struct mosquitto_message;

using ac_mqtt_callback_t = std::function<void(const mosquitto_message*)>;

class ac_mqtt_client_c : public ac_mqtt_client_interface {
public:
    explicit ac_mqtt_client_c(std::string client_id);
    ~ac_mqtt_client_c() override;
    ac_mqtt_client_c(const ac_mqtt_client_c&) = delete;
    ac_mqtt_client_c& operator=(const ac_mqtt_client_c&) = delete;

    // Retries 1..20 connect attempts, one second apart (also after the last failure).
    int init(const char* host, int port, int keepalive, int retries) override;
    void publish(const std::string& topic, const std::string& payload, bool retain) override;

    // A second registration of a topic is logged and ignored: the first callback stays.
    void register_topic(const std::string& topic, ac_mqtt_callback_t callback);
    void register_topic(const char* topic, ac_mqtt_callback_t callback);

    // Blocks for the life of the connection handling; returns only on an unrecoverable error.
    int loop_forever();
    void stop();

    bool is_connected() const { return connected_.load(); }

    // libmosquitto's C callbacks land here (through one-line trampolines); none of them throws
    // back into C except a callback's own exception, which the handlers never let escape.
    void on_connect(int result);
    void on_disconnect(int result);
    void on_subscribe();
    void on_message(const mosquitto_message* message);
    void on_log(int level, const char* text);

protected:
    // Called after a connection and its subscriptions, and after an unexpected disconnection.
    virtual void connection_hook() {}
    virtual void disconnection_hook() {}

private:
    // mosquitto_destroy, kept out of this header so that its users need no <mosquitto.h>.
    struct destroy_t {
        void operator()(mosquitto* instance) const;
    };

    std::string client_id_;
    std::map<std::string, ac_mqtt_callback_t> topics_;
    std::atomic<bool> connected_{false};
    std::atomic<int32_t> suback_count_{0};
    // Declared last, so destroyed first: the instance goes while the callback table still stands.
    std::unique_ptr<mosquitto, destroy_t> mosq_;
};
