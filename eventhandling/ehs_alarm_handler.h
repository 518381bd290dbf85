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
    struct topic_t; // a row of the topic table at the top of the .cpp
    static const topic_t topics[];

    // `message_t` is the topic's message class; each of them names the alarm system.
    template <class message_t>
    void log_and_react(const mosquitto_message* incoming, const topic_t& topic);
};
