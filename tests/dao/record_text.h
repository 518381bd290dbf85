#pragma once
// DAO records as text, fields "a|b|c" with numbers in decimal, so that a whole record or list
// compares in one line and a mix-up of columns shows.
#include "dao/alarmsystem_dao.h"
#include "dao/camera_event_reaction_dao.h"
#include "dao/connector_dao.h"
#include "dao/email_event_reaction_dao.h"
#include "dao/event_dao.h"
#include "dao/event_log_dao.h"
#include "dao/event_source_dao.h"
#include "dao/hotkey_dao.h"
#include "dao/language_dao.h"
#include "dao/lorivant_dao.h"
#include "dao/lorivant_event_reaction_dao.h"
#include "dao/output_event_reaction_dao.h"
#include "dao/repeater_dao.h"

#include <string>
#include <vector>

inline std::string field(const std::string& text) {
    return text;
}
inline std::string field(const char* text) {
    return text;
}
template <typename N>
std::string field(N number) {
    return std::to_string(number);
}
template <typename... T>
std::string join(const T&... values) {
    std::string out;
    int i = 0;
    ((out += (i++ ? "|" : "") + field(values)), ...);
    return out;
}

inline std::string text(const event_t& e) {
    return join(e.id, e.name, e.associated_event_source_id, e.hotkey_id, e.camera_event_reaction_id,
                e.output_event_reaction_id, e.email_event_reaction_id, e.lorivant_event_reaction_id);
}
inline std::string text(const event_source_t& s) {
    return join(s.id(), s.name(), s.type());
}
// The common fields, then each detail group that is set, so that a stray group shows.
inline std::string text(const associated_event_source_t& a) {
    std::string out = join(a.event_id, a.event_source_id, a.name, a.type);
    if (const auto& l = a.lorivant)
        out += " lorivant " + join(l->lorivant_id, l->access_group_id, l->schedule_table_id, l->with_holidays,
                                   l->user_group_id);
    if (a.repeater) out += " repeater " + join(a.repeater->repeater_id);
    if (const auto& i = a.input)
        out += " input " +
               join(i->connector_id, i->activate_signal, i->number, i->current_state, i->applications);
    if (const auto& s = a.alarmsystem)
        out += " alarmsystem " + join(s->alarmsystem, s->name, s->status, s->last_disarm_time,
                                      s->last_arm_time, s->disarm_by_guard);
    return out;
}
inline std::string text(const input_event_source_t& i) {
    return join(i.id, i.direction, i.number, i.current_state, i.applications, i.activate_signal);
}
inline std::string text(const event_settings_t& s) {
    return join(s.lid_tamper, s.back_tamper, s.repeater_tamper);
}
inline std::string text(const camera_event_reaction_t& r) {
    const camera_t& c = r.camera;
    return join(r.id, c.id, c.is_disabled, c.name, c.user_name, c.password, c.internal_ip_addr,
                c.internal_http_port, c.internal_rtsp_port, c.internal_recording_port, c.hostname,
                c.external_http_port, c.external_rtsp_port, c.connection_status, c.lorivant_id, c.is_trashed,
                r.recording);
}
inline std::string text(const output_event_reaction_t& r) {
    return join(r.id, r.connector_id, r.connector_number, r.connector_current_state, r.applications, r.action,
                r.delay, r.duration);
}
// "reaction; contact; contact" in the order read.
inline std::string text(const email_event_reaction_t& r) {
    std::string out = field(r.id);
    for (const contact_t& c : r.contacts)
        out += "; " + join(c.id, c.name, c.email, c.phone);
    return out;
}
// "id|lorivant|group|office duration counts", "...|panic value" or "...|no mode".
inline std::string text(const lorivant_event_reaction_t& r) {
    std::string out = join(r.id, r.lorivant_id, r.access_group_id);
    if (auto office = std::dynamic_pointer_cast<lorivant_event_reaction_t::office_mode_t>(r.mode))
        return out + "|office " + field(office->duration) + " " + field(office->counts);
    if (auto panic = std::dynamic_pointer_cast<lorivant_event_reaction_t::panic_mode_t>(r.mode))
        return out + "|panic " + field(panic->panic_mode);
    return out + "|no mode";
}
inline std::string text(const lorivant_t& l) {
    return join(l.id, l.hardware_id, l.name, l.repeater_id, l.supervision_period, l.supervision_time,
                l.supervision_missing, l.office_mode, l.office_mode_event_reaction_id,
                l.office_mode_event_timestamp, l.office_mode_event_duration,
                l.office_mode_event_counts_remaining, l.panic_mode_active);
}
inline std::string text(const repeater_t& r) {
    return join(r.id, r.serial_number, r.name, r.supervision_period, r.supervision_time,
                r.supervision_missing);
}
inline std::string text(const connector_t& c) {
    return join(c.id, c.direction, c.number, c.current_state, c.applications);
}
inline std::string text(const alarmsystem_t& a) {
    return join(a.id, a.name, a.status, a.last_disarm_time, a.last_arm_time, a.disarm_by_guard);
}
inline std::string text(const language_t& l) {
    return join(l.id, l.code, l.name);
}
inline std::string text(const hotkey_t& h) {
    return join(h.id, h.name);
}
inline std::string text(const event_log_group_t& g) {
    return join(g.id, g.name);
}

// One record per line.
template <typename T>
std::string texts(const std::vector<T>& records) {
    std::string out;
    for (const T& r : records)
        out += text(r) + "\n";
    return out;
}
