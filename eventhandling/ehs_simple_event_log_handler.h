#pragma once
// Topics whose only effect is one event-log row with a fixed message id, whatever the payload
// (the alarm system's error reports and NTP time corrections). Publishes nothing.
#include "eventhandling/ehs_event_handler.h"

class ehs_simple_event_log_handler_c : public ehs_event_handler_c {
public:
    ehs_simple_event_log_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                                   ehs_busy_retries_t retries = {});
};
