#include "eventhandling/ehs_simple_event_handler.h"

#include "db/transaction_guard.h"
#include "messages/msg_event_hotkey.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_internet_lost.h"
#include "messages/msg_event_reaction_cameraid.h"

#include <mosquitto.h>

namespace {

constexpr uint64_t group_camera = 3;
constexpr uint64_t group_system = 4;
// The hotkey's configured events hang off the general source "hotkey pressed".
constexpr uint64_t hotkey_event_source = 16;
constexpr uint64_t internet_lost_event_source = 15;

} // namespace

ehs_simple_event_handler_c::ehs_simple_event_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                                       dao_registry_c& registry, ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    auto device = [this](uint64_t source, device_e kind) {
        return [this, source, kind](const mosquitto_message* m) { handle_device_event(m, source, kind); };
    };
    auto controller = [this](uint64_t source, uint64_t message_id) {
        return [this, source, message_id](const mosquitto_message* m) {
            handle_controller_event(m, source, message_id);
        };
    };
    auto camera = [this](uint64_t message_id) {
        return [this, message_id](const mosquitto_message* m) { handle_camera_event(m, message_id); };
    };
    // Device rows write no event-log row here: the services that report them do.
    client_->register_topic("events/end_device/signal_loss", device(14, DOOR_COMPONENT));
    client_->register_topic("events/repeater/signal_loss", device(17, REPEATER));
    client_->register_topic("events/repeater/tamper", device(7, REPEATER));
    client_->register_topic("events/repeater/tamper_resolved", device(19, REPEATER));
    client_->register_topic("events/repeater/power_loss", device(8, REPEATER));
    client_->register_topic("events/repeater/power_back", device(9, REPEATER));
    client_->register_topic("events/control/tamper", controller(6, 29));
    client_->register_topic("events/control/tamper_resolved", controller(18, 57));
    client_->register_topic("events/control/internet_lost", controller(internet_lost_event_source, 27));
    client_->register_topic("events/rest_api/hotkey",
                            [this](const mosquitto_message* m) { handle_hotkey_event(m); });
    client_->register_topic("events/camera/video", camera(37));
    client_->register_topic("events/camera/snapshot", camera(38));
}

void ehs_simple_event_handler_c::react(uint64_t event_source_id,
                                       const std::shared_ptr<msg_event_base_c>& message,
                                       const ehs_event_origin_t& origin) {
    std::vector<ehs_event_record_t> records;
    find_event_reactions(event_source_id, records);
    for (const auto& record : records)
        publish_reactions(record, message, origin);
}

void ehs_simple_event_handler_c::handle_device_event(const mosquitto_message* incoming,
                                                     uint64_t event_source_id, device_e device) {
    auto message = std::make_shared<msg_event_hwid_c>();
    if (!deserialize(incoming, *message)) return;
    // The device's id and the lookup in one read transaction: one lock of the file.
    read_transaction_guard_c reads(*transactions_);
    ehs_event_origin_t origin;
    if (device == DOOR_COMPONENT)
        origin.lorivant_id = lorivant_id_of(message->hardware_id);
    else
        origin.repeater_id = repeater_id_of(message->hardware_id);
    react(event_source_id, message, origin);
}

void ehs_simple_event_handler_c::handle_controller_event(const mosquitto_message* incoming,
                                                         uint64_t event_source_id, uint64_t message_id) {
    // "internet_lost" may carry the reporting device's hardware id; its own class accepts that
    // as well as the empty object the tamper topics carry.
    std::shared_ptr<msg_event_base_c> message;
    if (event_source_id == internet_lost_event_source)
        message = std::make_shared<msg_event_internet_lost_c>();
    else
        message = std::make_shared<msg_event_base_c>();
    if (!deserialize(incoming, *message)) return;
    react(event_source_id, message, ehs_event_origin_t{});
    write_event_log_with_transaction(message_id, group_system, 0, 0);
}

void ehs_simple_event_handler_c::handle_hotkey_event(const mosquitto_message* incoming) {
    auto message = std::make_shared<msg_event_hotkey_c>();
    if (!deserialize(incoming, *message)) return;
    ehs_event_origin_t origin;
    origin.hotkey = true;
    origin.hotkey_id = message->hotkey_id;
    react(hotkey_event_source, message, origin);
}

void ehs_simple_event_handler_c::handle_camera_event(const mosquitto_message* incoming, uint64_t message_id) {
    if (incoming->payload == nullptr || incoming->payloadlen <= 0 || incoming->topic == nullptr) return;
    msg_event_reaction_cameraid_c message;
    if (!deserialize(incoming, message)) return;
    write_event_log_with_transaction(message_id, group_camera, 0, message.camera_id);
}
