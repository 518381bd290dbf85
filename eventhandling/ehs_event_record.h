#pragma once
// What the reaction engine works with: one configured event completed with its source and its
// reactions, and what the incoming message names, so the two can be matched.
#include "dao/camera_event_reaction_dao.h"
#include "dao/email_event_reaction_dao.h"
#include "dao/event_dao.h"
#include "dao/event_source_dao.h"
#include "dao/lorivant_event_reaction_dao.h"
#include "dao/output_event_reaction_dao.h"

#include <cstdint>
#include <optional>
#include <string>

// A configured event of the looked-up event source. The optionals stay empty when the event has
// no such reaction, when it could not be read, or when the lookup stopped early.
struct ehs_event_record_t {
    event_t event;
    std::optional<associated_event_source_t> source;
    std::optional<camera_event_reaction_t> camera;
    std::optional<output_event_reaction_t> output;
    std::optional<email_event_reaction_t> email;
    std::optional<lorivant_event_reaction_t> lorivant;
};

// The thing an incoming event is about, resolved to database ids by the handler: a configured
// event reacts only when its source names the same thing. 0 means "not named / not found".
struct ehs_event_origin_t {
    uint64_t lorivant_id = 0;    // door component whose hardware_id the message carries
    uint64_t repeater_id = 0;    // repeater whose serial_number the message carries
    uint64_t alarmsystem_id = 0; // alarm system of the message
    std::string connector;       // input connector of the message, e.g. "input1"
    std::string signal;          // "High" or "Low"
    bool hotkey = false;         // a hotkey event: general events must name the same hotkey
    uint64_t hotkey_id = 0;
};

// True when the record's source names what `origin` names (see the source types in the
// shared database's contract). A record without source information reacts: it was configured
// for this event source and nothing narrows it down.
bool ehs_source_matches(const ehs_event_record_t& record, const ehs_event_origin_t& origin);
