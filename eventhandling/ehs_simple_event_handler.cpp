#include "eventhandling/ehs_simple_event_handler.h"

#include "db/transaction_guard.h"
#include "eventhandling/ehs_event_log_group.h"
#include "messages/msg_event_hotkey.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_internet_lost.h"
#include "messages/msg_event_reaction_cameraid.h"

#include <mosquitto.h>

namespace {

enum message_class_e {
    DOOR_COMPONENT_HWID, // msg_event_hwid_c of a door component
    REPEATER_HWID,       // msg_event_hwid_c of a repeater (its serial number)
    EMPTY,               // msg_event_base_c: the payload is an empty object
    INTERNET_LOST,       // msg_event_internet_lost_c: may name the reporting device
    HOTKEY,              // msg_event_hotkey_c
    CAMERAID,            // msg_event_reaction_cameraid_c
};

} // namespace

struct ehs_simple_event_handler_c::topic_t {
    const char* topic;
    message_class_e message_class;
    uint64_t event_source_id; // 0: no reactions
    uint64_t message_id;      // of the event-log row; 0: no row
    uint64_t event_log_group_id;
};

// The event sources and event-log messages are rows of sql/schema.sql. Device events write no
// event-log row here: the services that report them do. The hotkey's configured events hang
// off the general source "hotkey pressed".
const ehs_simple_event_handler_c::topic_t ehs_simple_event_handler_c::topics[] = {
    {"events/end_device/signal_loss", DOOR_COMPONENT_HWID, 14, 0, 0},
    {"events/repeater/signal_loss", REPEATER_HWID, 17, 0, 0},
    {"events/repeater/tamper", REPEATER_HWID, 7, 0, 0},
    {"events/repeater/tamper_resolved", REPEATER_HWID, 19, 0, 0},
    {"events/repeater/power_loss", REPEATER_HWID, 8, 0, 0},
    {"events/repeater/power_back", REPEATER_HWID, 9, 0, 0},
    {"events/control/tamper", EMPTY, 6, 29, ehs_log_group_system},
    {"events/control/tamper_resolved", EMPTY, 18, 57, ehs_log_group_system},
    {"events/control/internet_lost", INTERNET_LOST, 15, 27, ehs_log_group_system},
    {"events/rest_api/hotkey", HOTKEY, 16, 0, 0},
    {"events/camera/video", CAMERAID, 0, 37, ehs_log_group_camera},
    {"events/camera/snapshot", CAMERAID, 0, 38, ehs_log_group_camera},
};

ehs_simple_event_handler_c::ehs_simple_event_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                                       dao_registry_c& registry, ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    for (const auto& row : topics)
        client_->register_topic(row.topic, [this, &row](const mosquitto_message* m) { handle(m, row); });
}

void ehs_simple_event_handler_c::handle(const mosquitto_message* incoming, const topic_t& topic) {
    switch (topic.message_class) {
    case DOOR_COMPONENT_HWID:
    case REPEATER_HWID:
        return handle_device_event(incoming, topic);
    case EMPTY:
    case INTERNET_LOST:
        return handle_controller_event(incoming, topic);
    case HOTKEY:
        return handle_hotkey_event(incoming, topic);
    case CAMERAID:
        return handle_camera_event(incoming, topic);
    }
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
                                                     const topic_t& topic) {
    auto message = std::make_shared<msg_event_hwid_c>();
    if (!deserialize(incoming, *message)) return;
    // The device's id and the lookup in one read transaction: one lock of the file.
    read_transaction_guard_c reads(*transactions_);
    ehs_event_origin_t origin;
    if (topic.message_class == DOOR_COMPONENT_HWID)
        origin.lorivant_id = lorivant_id_of(message->hardware_id);
    else
        origin.repeater_id = repeater_id_of(message->hardware_id);
    react(topic.event_source_id, message, origin);
}

void ehs_simple_event_handler_c::handle_controller_event(const mosquitto_message* incoming,
                                                         const topic_t& topic) {
    std::shared_ptr<msg_event_base_c> message;
    if (topic.message_class == INTERNET_LOST)
        message = std::make_shared<msg_event_internet_lost_c>();
    else
        message = std::make_shared<msg_event_base_c>();
    if (!deserialize(incoming, *message)) return;
    react(topic.event_source_id, message, ehs_event_origin_t{});
    write_event_log_with_transaction(topic.message_id, topic.event_log_group_id, 0, 0);
}

void ehs_simple_event_handler_c::handle_hotkey_event(const mosquitto_message* incoming,
                                                     const topic_t& topic) {
    auto message = std::make_shared<msg_event_hotkey_c>();
    if (!deserialize(incoming, *message)) return;
    ehs_event_origin_t origin;
    origin.hotkey = true;
    origin.hotkey_id = message->hotkey_id;
    react(topic.event_source_id, message, origin);
}

void ehs_simple_event_handler_c::handle_camera_event(const mosquitto_message* incoming,
                                                     const topic_t& topic) {
    // No payload is refused (and counted) by deserialize, as on every other topic.
    msg_event_reaction_cameraid_c message;
    if (!deserialize(incoming, message)) return;
    write_event_log_with_transaction(topic.message_id, topic.event_log_group_id, 0, message.camera_id);
}
