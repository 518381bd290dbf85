#include "mqtt/ac_mqtt_client.h"

#include "utils/ac_log.h"
#include "utils/ac_sleep.h"

#include <mosquitto.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace {

// libmosquitto reports OS failures as MOSQ_ERR_ERRNO and leaves the reason in errno.
std::string reason_of(int result) {
    if (result == MOSQ_ERR_ERRNO) return strerror(errno);
    return mosquitto_strerror(result);
}

ac_mqtt_client_c* client_of(void* user_data) {
    return static_cast<ac_mqtt_client_c*>(user_data);
}

void connect_trampoline(mosquitto*, void* self, int result) {
    if (self != nullptr) client_of(self)->on_connect(result);
}

void disconnect_trampoline(mosquitto*, void* self, int result) {
    if (self != nullptr) client_of(self)->on_disconnect(result);
}

void subscribe_trampoline(mosquitto*, void* self, int, int, const int*) {
    if (self != nullptr) client_of(self)->on_subscribe();
}

void message_trampoline(mosquitto*, void* self, const mosquitto_message* message) {
    if (self != nullptr) client_of(self)->on_message(message);
}

void log_trampoline(mosquitto*, void* self, int level, const char* text) {
    if (self != nullptr) client_of(self)->on_log(level, text);
}

} // namespace

ac_mqtt_client_c::ac_mqtt_client_c(std::string client_id) : client_id_(std::move(client_id)) {}

ac_mqtt_client_c::~ac_mqtt_client_c() = default;

void ac_mqtt_client_c::destroy_t::operator()(mosquitto* instance) const {
    mosquitto_destroy(instance);
}

int ac_mqtt_client_c::init(const char* host, int port, int keepalive, int retries) {
    if (retries < 1 || retries > 20) throw std::runtime_error("init(): retries value is out of range");

    static std::once_flag library_ready;
    std::call_once(library_ready, [] { mosquitto_lib_init(); });

    mosq_.reset(mosquitto_new(client_id_.c_str(), true, this));
    if (mosq_ == nullptr)
        throw std::runtime_error("failed to create new mosquitto instance:" + reason_of(MOSQ_ERR_ERRNO));
    // Every publish is a small packet of its own. With Nagle's algorithm the second reaction of
    // an event would wait for the broker's ACK of the first: about 1 ms under load, up to 40 ms
    // (the delayed ACK) when idle. Only an old library refuses the option, and then it stays on.
    mosquitto_int_option(mosq_.get(), MOSQ_OPT_TCP_NODELAY, 1);
    // The loop runs on the caller's thread while other threads publish (the supervision, inside
    // its transaction). Unthreaded, such a publish writes the packet itself and then waits for
    // the mutex that the loop holds while a message callback runs; a callback waiting for the
    // database's turn would never give it back. Threaded, the loop writes the packet.
    mosquitto_threaded_set(mosq_.get(), true);

    mosquitto_subscribe_callback_set(mosq_.get(), subscribe_trampoline);
    mosquitto_message_callback_set(mosq_.get(), message_trampoline);
    mosquitto_connect_callback_set(mosq_.get(), connect_trampoline);
    mosquitto_disconnect_callback_set(mosq_.get(), disconnect_trampoline);
    mosquitto_log_callback_set(mosq_.get(), log_trampoline);

    int result = MOSQ_ERR_UNKNOWN;
    std::string reason;
    for (int attempt = 0; attempt < retries; ++attempt) {
        result = mosquitto_connect(mosq_.get(), host, port, keepalive);
        if (result == MOSQ_ERR_SUCCESS) return result;
        reason = reason_of(result);
        ac_sleep_ms(1000);
    }
    throw std::runtime_error("failed to connect:" + reason);
}

void ac_mqtt_client_c::publish(const std::string& topic, const std::string& payload, bool retain) {
    int result = mosquitto_publish(mosq_.get(), nullptr, topic.c_str(), static_cast<int>(payload.size()),
                                   payload.data(), 0, retain);
    if (result > 0)
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "publish", "failed to publish: %s", reason_of(result).c_str());
}

void ac_mqtt_client_c::register_topic(const std::string& topic, ac_mqtt_callback_t callback) {
    auto inserted = topics_.emplace(topic, std::move(callback));
    if (!inserted.second) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "register_topic", "topic is already registered: %s",
               topic.c_str());
        return;
    }
    if (!connected_.load()) return; // the connection callback subscribes the whole table
    int result = mosquitto_subscribe(mosq_.get(), nullptr, topic.c_str(), 0);
    if (result != MOSQ_ERR_SUCCESS)
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "register_topic", "failed to subscribe: %s",
               reason_of(result).c_str());
}

void ac_mqtt_client_c::register_topic(const char* topic, ac_mqtt_callback_t callback) {
    register_topic(std::string(topic), std::move(callback));
}

int ac_mqtt_client_c::loop_forever() {
    return mosquitto_loop_forever(mosq_.get(), -1, 1);
}

void ac_mqtt_client_c::stop() {
    mosquitto_disconnect(mosq_.get());
    mosquitto_loop_stop(mosq_.get(), false);
}

// A clean session forgets subscriptions, so every connection, first or later, subscribes the
// whole table; the handlers never hear of broker restarts.
void ac_mqtt_client_c::on_connect(int result) {
    if (result != 0) return;
    connected_ = true;
    for (const auto& entry : topics_) {
        int subscribed = mosquitto_subscribe(mosq_.get(), nullptr, entry.first.c_str(), 0);
        if (subscribed != MOSQ_ERR_SUCCESS)
            ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "connect_callback", "failed to subscribe: %s",
                   reason_of(subscribed).c_str());
    }
    connection_hook();
}

// Only disconnections the client did not ask for (result != 0); the loop reconnects by itself.
void ac_mqtt_client_c::on_disconnect(int result) {
    if (result == 0) return;
    connected_ = false;
    disconnection_hook();
    suback_count_ = 0;
}

void ac_mqtt_client_c::on_subscribe() {
    ++suback_count_;
}

void ac_mqtt_client_c::on_message(const mosquitto_message* message) {
    if (message == nullptr || message->topic == nullptr) return;
    const char* topic = message->topic;

    auto exact = topics_.find(topic);
    if (exact != topics_.end()) {
        exact->second(message);
        return;
    }
    // Deliberately simpler than MQTT's own matching: the bytes before the first '#' must be a
    // prefix of the topic, and nothing after the '#' counts.
    for (const auto& entry : topics_) {
        size_t hash = entry.first.find('#');
        if (hash == std::string::npos) continue;
        if (hash == 0 || strncmp(entry.first.c_str(), topic, hash) == 0) {
            entry.second(message);
            return;
        }
    }
}

// The format's own newline is kept: with the writer's newline it leaves an empty line after
// each libmosquitto entry, which the controller's log readers expect.
void ac_mqtt_client_c::on_log(int level, const char* text) {
    if (level != MOSQ_LOG_WARNING && level != MOSQ_LOG_ERR) return;
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "log_callback", "mqtt: %s\n", text);
}
