#pragma once
// What the handlers of door-component events share: publishing the reactions of the "lorivant"
// events configured for every door component or for the reporting one. These handlers write no
// event-log row; the door-component service logs its events itself. Runs on the MQTT network
// thread and never throws, like every handler.
#include "eventhandling/ehs_event_handler.h"

class ehs_door_component_handler_c : public ehs_event_handler_c {
protected:
    using ehs_event_handler_c::ehs_event_handler_c;

    // The reactions of `event_source_id` and, when there are any, the id of the door component
    // with `hardware_id` are read in one read transaction: one lock of the file.
    void react_for_door_component(uint64_t event_source_id, const std::shared_ptr<msg_event_base_c>& message,
                                  uint64_t hardware_id);
};
