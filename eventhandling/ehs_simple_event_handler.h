#pragma once
// Events that need no device logic: radio devices and repeaters (reactions only), the
// controller itself (reactions, then its event-log row), hotkeys of the REST interface
// (reactions of the hotkey's events) and cameras (event-log row only). Topics are registered
// in the constructor; callbacks run on the MQTT network thread and never throw.
#include "eventhandling/ehs_event_handler.h"

class ehs_simple_event_handler_c : public ehs_event_handler_c {
public:
    ehs_simple_event_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                               ehs_busy_retries_t retries = {});

private:
    struct topic_t; // a row of the topic table at the top of the .cpp
    static const topic_t topics[];

    void handle(const mosquitto_message* incoming, const topic_t& topic);
    void handle_device_event(const mosquitto_message* incoming, const topic_t& topic);
    void handle_controller_event(const mosquitto_message* incoming, const topic_t& topic);
    void handle_hotkey_event(const mosquitto_message* incoming, const topic_t& topic);
    void handle_camera_event(const mosquitto_message* incoming, const topic_t& topic);
    void react(uint64_t event_source_id, const std::shared_ptr<msg_event_base_c>& message,
               const ehs_event_origin_t& origin);
};
