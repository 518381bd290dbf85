#pragma once
// Access decisions of door components (granted, denied, unknown tag): publishes the reactions
// of the "lorivant" events configured for every door component or for the reporting one.
// Writes no event-log row: the door-component service logs access itself, with the tag and user.
#include "eventhandling/ehs_door_component_handler.h"

class ehs_lorivant_handler_c : public ehs_door_component_handler_c {
public:
    ehs_lorivant_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                           ehs_busy_retries_t retries = {});

private:
    void handle_access(const mosquitto_message* incoming, uint64_t event_source_id);
};
