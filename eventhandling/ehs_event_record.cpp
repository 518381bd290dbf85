#include "eventhandling/ehs_event_record.h"

namespace {

// 0 or absent stands for "every device of the kind".
bool same_or_any(uint64_t configured, uint64_t named) {
    return configured == 0 || configured == named;
}

bool input_matches(const input_source_details_t& input, const ehs_event_origin_t& origin) {
    std::string connector = "input" + std::to_string(static_cast<int>(input.number));
    // activate_signal 1 reacts to "High", 0 to "Low", any other value to neither.
    const bool level = (input.activate_signal == 1 && origin.signal == "High") ||
                       (input.activate_signal == 0 && origin.signal == "Low");
    return connector == origin.connector && level;
}

} // namespace

bool ehs_source_matches(const ehs_event_record_t& record, const ehs_event_origin_t& origin) {
    if (!record.source) return true;
    const associated_event_source_t& source = *record.source;
    if (source.type == "lorivant")
        return !source.lorivant || same_or_any(source.lorivant->lorivant_id, origin.lorivant_id);
    if (source.type == "repeater")
        return !source.repeater || same_or_any(source.repeater->repeater_id, origin.repeater_id);
    // An alarm-system source stored without alarm system has no detail row: every alarm system.
    if (source.type == "alarmsystem")
        return !source.alarmsystem || same_or_any(source.alarmsystem->alarmsystem, origin.alarmsystem_id);
    // The input's detail row exists only when its connector has an application.
    if (source.type == "externalInput") return source.input && input_matches(*source.input, origin);
    if (source.type == "general") return !origin.hotkey || record.event.hotkey_id == origin.hotkey_id;
    return false;
}
