#pragma once
// The DAO tests run on the demo installation twice: in the project's own layout and rebuilt as
// another tool of the controller would create it (test_database_c::rebuild_foreign_layout), since
// the service must work on any database that meets the contract. Records print as "a|b|c", so
// that a whole record or list compares in one line and a mix-up of columns shows.
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
#include "dao/settings_dao.h"
#include "db/db_exception.h"
#include "tests/support/test_database.h"
#include "tests/support/test_sqlite.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>
#include <type_traits>

template <typename... T>
std::string join(const T&... values) {
    std::ostringstream out;
    int i = 0;
    ((out << (i++ ? "|" : "") << values), ...);
    return out.str();
}
// clang-format off
#define EHS_TEXT(type, ...)                                                                                  \
    inline std::string text(const type& r) { return join(__VA_ARGS__); }                                     \
    inline std::ostream& operator<<(std::ostream& out, const type& r) { return out << text(r); }
// clang-format on
// A detail group that is not set prints as "-", so that a stray or missing one shows.
template <typename T>
std::ostream& operator<<(std::ostream& out, const std::optional<T>& group) {
    return group ? out << *group : out << "-";
}
EHS_TEXT(event_log_group_t, r.id, r.name)
EHS_TEXT(slave_latest_identifier_t, r.slave_id, r.max_identifier)
EHS_TEXT(slave_identifier_gap_t, r.slave_id, r.missing, r.max_identifier, r.min_identifier)
EHS_TEXT(event_settings_t, r.lid_tamper, r.back_tamper, r.repeater_tamper)
EHS_TEXT(language_t, r.id, r.code, r.name)
EHS_TEXT(hotkey_t, r.id, r.name)
EHS_TEXT(event_source_t, r.id(), r.name(), r.type())
EHS_TEXT(event_t, r.id, r.name, r.associated_event_source_id, r.hotkey_id, r.camera_event_reaction_id,
         r.output_event_reaction_id, r.email_event_reaction_id, r.lorivant_event_reaction_id)
EHS_TEXT(input_event_source_t, r.id, r.direction, r.number, r.current_state, r.applications,
         r.activate_signal)
EHS_TEXT(lorivant_source_details_t, r.lorivant_id, r.access_group_id, r.schedule_table_id, r.with_holidays,
         r.user_group_id)
EHS_TEXT(repeater_source_details_t, r.repeater_id)
EHS_TEXT(input_source_details_t, r.connector_id, r.activate_signal, r.number, r.current_state, r.applications)
EHS_TEXT(alarmsystem_source_details_t, +r.alarmsystem, r.name, r.status, r.last_disarm_time, r.last_arm_time,
         r.disarm_by_guard)
EHS_TEXT(associated_event_source_t, r.event_id, r.event_source_id, r.name, r.type, r.lorivant, r.repeater,
         r.input, r.alarmsystem)
EHS_TEXT(connector_t, r.id, r.direction, r.number, r.current_state, r.applications)
EHS_TEXT(alarmsystem_t, r.id, r.name, r.status, r.last_disarm_time, r.last_arm_time, r.disarm_by_guard)
EHS_TEXT(repeater_t, r.id, r.serial_number, r.name, r.supervision_period, r.supervision_time,
         r.supervision_missing)
EHS_TEXT(lorivant_t, r.id, r.hardware_id, r.name, r.repeater_id, r.supervision_period, r.supervision_time,
         r.supervision_missing, r.office_mode, r.office_mode_event_reaction_id, r.office_mode_event_timestamp,
         r.office_mode_event_duration, r.office_mode_event_counts_remaining, r.panic_mode_active)
EHS_TEXT(output_event_reaction_t, r.id, r.connector_id, r.connector_number, r.connector_current_state,
         r.applications, r.action, r.delay, r.duration)
EHS_TEXT(camera_t, r.id, r.is_disabled, r.name, r.user_name, r.password, r.internal_ip_addr,
         r.internal_http_port, r.internal_rtsp_port, r.internal_recording_port, r.hostname,
         r.external_http_port, r.external_rtsp_port, r.connection_status, r.lorivant_id, r.is_trashed)
EHS_TEXT(camera_event_reaction_t, r.id, r.camera, r.recording)
EHS_TEXT(contact_t, r.id, r.name, r.email, r.phone)
// "reaction; contact; contact" in the order read.
inline std::string text(const email_event_reaction_t& r) {
    std::string out = join(r.id);
    for (const contact_t& c : r.contacts)
        out += "; " + text(c);
    return out;
}
// "id|lorivant|group|office duration|counts", "...|panic value" or "...|no mode".
inline std::string text(const lorivant_event_reaction_t& r) {
    auto office = std::dynamic_pointer_cast<lorivant_event_reaction_t::office_mode_t>(r.mode);
    auto panic = std::dynamic_pointer_cast<lorivant_event_reaction_t::panic_mode_t>(r.mode);
    return join(r.id, r.lorivant_id, r.access_group_id,
                office ? "office " + join(office->duration, office->counts)
                       : (panic ? "panic " + join(panic->panic_mode) : "no mode"));
}
// One record per line.
template <typename T>
std::string texts(const std::vector<T>& records) {
    std::string out;
    for (const T& r : records)
        out += text(r) + "\n";
    return out;
}
class dao_test : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (!GetParam()) return;
        db_.rebuild_foreign_layout();
        ASSERT_EQ(db_.rows("SELECT group_concat(name) FROM pragma_table_info('hotkey') UNION ALL SELECT "
                           "count(*) FROM sqlite_master m, pragma_foreign_key_list(m.name)"),
                  "other_tool,name,id\n0\n");
    }
    // What a read gives, through a DAO object of its own: the record that "bool get_...(args...,
    // out)" filled (or "none"), or the records that "void get_...(args..., out)" appended.
    template <typename Dao, typename R, typename... P, typename... A>
    std::string read(R (Dao::*get)(P...), A&&... args) {
        std::remove_reference_t<std::tuple_element_t<sizeof...(P) - 1, std::tuple<P...>>> out;
        if constexpr (std::is_same_v<R, bool>)
            return (db_.dao<Dao>().get()->*get)(std::forward<A>(args)..., out) ? text(out) : "none";
        else
            return (db_.dao<Dao>().get()->*get)(std::forward<A>(args)..., out), texts(out);
    }
    test_database_c db_{test_database_c::WITH_DEMO};
};
// A suite of these tests, run once per layout ("own", "foreign").
#define EHS_DAO_TEST_SUITE(suite)                                                                            \
    using suite = dao_test;                                                                                  \
    INSTANTIATE_TEST_SUITE_P(layouts, suite, ::testing::Bool(),                                              \
                             [](const auto& info) { return info.param ? "foreign" : "own"; })
