#pragma once
// Turns the reactions of one configured event into commands for the services that carry them
// out: one JSON message per reaction on "event_reactions/...". QoS 0; publishing failures are
// the MQTT client's to log. Called on the thread that handles the event.
#include "eventhandling/ehs_event_record.h"
#include "messages/msg_event_base.h"
#include "mqtt/ac_mqtt_client_interface.h"

#include <cstdint>
#include <memory>

// "snapshot" and "video" go to their camera topics; any other recording type publishes nothing.
void ehs_publish_camera_reaction(ac_mqtt_client_interface& client, const camera_event_reaction_t& reaction);
void ehs_publish_output_reaction(ac_mqtt_client_interface& client, const output_event_reaction_t& reaction);
// `message` is the triggering event; its topic() becomes "event_source_topic".
void ehs_publish_email_reaction(ac_mqtt_client_interface& client, const email_event_reaction_t& reaction,
                                const std::shared_ptr<msg_event_base_c>& message);
// Office-mode reactions only: panic mode is carried out through its association row.
void ehs_publish_lorivant_reaction(ac_mqtt_client_interface& client,
                                   const lorivant_event_reaction_t& reaction);

// Publishes every filled reaction of `record`, in the order camera, output, e-mail, door
// component, when the record's source names what `origin` names.
void ehs_publish_reactions(ac_mqtt_client_interface& client, const ehs_event_record_t& record,
                           const std::shared_ptr<msg_event_base_c>& message,
                           const ehs_event_origin_t& origin);
