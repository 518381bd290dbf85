#pragma once
// State changes of the intrusion alarm system: each is logged, then the reactions configured
// for it on an "alarmsystem" source that names the message's alarm system (or every one) are
// published. Callbacks run on the MQTT network thread and never throw.
#include "eventhandling/ehs_event_handler.h"

class ehs_alarm_handler_c : public ehs_event_handler_c {
public:
    ehs_alarm_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                        ehs_busy_retries_t retries = {});

private:
    void handle_armed(const mosquitto_message* incoming);
    void handle_alarm(const mosquitto_message* incoming);
    void log_and_react(uint64_t message_id, uint64_t event_source_id,
                       const std::shared_ptr<msg_event_base_c>& message, uint64_t alarmsystem_id);
};
