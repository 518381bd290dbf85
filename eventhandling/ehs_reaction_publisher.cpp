#include "eventhandling/ehs_reaction_publisher.h"

#include "eventhandling/ehs_status_counters.h"
#include "messages/msg_event_reaction_cameraid.h"
#include "messages/msg_event_reaction_email.h"
#include "messages/msg_event_reaction_io_output.h"
#include "messages/msg_lorivant_event_reaction_office_mode.h"

#include <string>

namespace {

// Every command goes out through here, so that the status line counts each once.
void publish_reaction(ac_mqtt_client_interface& client, const char* topic, const std::string& payload) {
    client.publish(topic, payload, false);
    ehs_status_counters_c::instance().count_reaction();
}

} // namespace

void ehs_publish_camera_reaction(ac_mqtt_client_interface& client, const camera_event_reaction_t& reaction) {
    const char* topic = nullptr;
    if (reaction.recording == "snapshot")
        topic = "event_reactions/camera/snapshot";
    else if (reaction.recording == "video")
        topic = "event_reactions/camera/video";
    else
        return;
    msg_event_reaction_cameraid_c message;
    message.camera_id = reaction.camera.id;
    publish_reaction(client, topic, message.serialize());
}

void ehs_publish_output_reaction(ac_mqtt_client_interface& client, const output_event_reaction_t& reaction) {
    msg_event_reaction_io_output_c message;
    message.connector = reaction.connector_id != 0
                            ? "output" + std::to_string(static_cast<int>(reaction.connector_number))
                            : "unused";
    // An unknown mode is no error: it goes out as "undefined", which the output service ignores.
    message.signal = output_action_name(reaction.action);
    message.delay_start = reaction.delay;
    message.duration = reaction.duration;
    publish_reaction(client, "event_reactions/external_io/output", message.serialize());
}

void ehs_publish_email_reaction(ac_mqtt_client_interface& client, const email_event_reaction_t& reaction,
                                const std::shared_ptr<msg_event_base_c>& event) {
    msg_event_reaction_email_c message;
    message.event_source_topic = event->topic();
    message.event_source_msg = event;
    for (const auto& contact : reaction.contacts)
        message.recipients.push_back(contact.email);
    publish_reaction(client, "event_reactions/email", message.serialize());
}

void ehs_publish_lorivant_reaction(ac_mqtt_client_interface& client,
                                   const lorivant_event_reaction_t& reaction) {
    auto office = std::dynamic_pointer_cast<lorivant_event_reaction_t::office_mode_t>(reaction.mode);
    if (!office) return;
    msg_lorivant_event_reaction_office_mode_c message;
    message.lorivant_event_reaction_id = reaction.id;
    message.lorivant_id = reaction.lorivant_id;
    message.accessgroup_id = reaction.access_group_id;
    message.duration = office->duration;
    // No passage limit is stored as -1 and goes out as the largest count.
    message.counts = static_cast<uint64_t>(office->counts);
    publish_reaction(client, "event_reactions/end_device/lorivant", message.serialize());
}

void ehs_publish_reactions(ac_mqtt_client_interface& client, const ehs_event_record_t& record,
                           const std::shared_ptr<msg_event_base_c>& message,
                           const ehs_event_origin_t& origin) {
    if (!ehs_source_matches(record, origin)) return;
    if (record.camera) ehs_publish_camera_reaction(client, *record.camera);
    if (record.output) ehs_publish_output_reaction(client, *record.output);
    if (record.email) ehs_publish_email_reaction(client, *record.email, message);
    if (record.lorivant) ehs_publish_lorivant_reaction(client, *record.lorivant);
}
