#pragma once
// External inputs of the controller: every level change is logged; the events configured for
// the input's connector and level react, and a door-component reaction among them switches
// office or panic mode in the database before the commands go out. Callbacks run on the MQTT
// network thread and never throw.
#include "eventhandling/ehs_event_handler.h"

class ehs_input_handler_c : public ehs_event_handler_c {
public:
    ehs_input_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                        ehs_busy_retries_t retries = {});

    // Office mode: an office-mode association row for the reaction (restarting a running one)
    // and the office-mode columns of the door component (of every door component when the
    // reaction names none). Panic mode: a panic-mode association row, unless already active.
    // One transaction; a failure is rolled back and logged.
    void make_lorivant_reaction(const lorivant_event_reaction_t& reaction);

private:
    void handle_input(const mosquitto_message* incoming);
    void switch_office_mode(const lorivant_event_reaction_t& reaction,
                            const lorivant_event_reaction_t::office_mode_t& office);
    void switch_panic_mode(const lorivant_event_reaction_t& reaction);
    uint64_t hardware_id_of(uint64_t lorivant_id, std::vector<lorivant_t>& lorivants);
};
