#include "bench/bench_sql_ceiling.h"

#include "bench/bench_system.h"
#include "dao/dao_registration.h"
#include "dao/event_source_dao.h"
#include "db/cas_broadcast_hook_helper.h"
#include "db/dao_registry.h"
#include "db/dao_sqlite3.h"
#include "eventhandling/ehs_alarm_handler.h"
#include "eventhandling/ehs_reaction_publisher.h"
#include "messages/msg_event_alarm_armed.h"
#include "mqtt/ac_mqtt_client.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

// The statements of one armed event, in the order the service runs them, as its DAOs write them.
const char* const sequence_sql = "SELECT seq from sqlite_sequence where name='event_log'";
const char* const insert_sql = R"(
        INSERT INTO event_log(datetime,message_id,event_log_group_id,lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier)
        VALUES (?,?,?,?,?,?,?,?,?)
    )";
const char* const events_sql =
    "select event.id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id,"
    "output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id from event inner join "
    "associated_event_source on associated_event_source.id=associated_event_source_id where "
    "associated_event_source.event_source_id in (     select event_source.id     from event_source     "
    "where event_source.id%?=? )";
const char* const language_sql = "SELECT language.code FROM settings INNER JOIN language ON language.code = "
                                 "settings.value WHERE settings.key = 'default_language'";
const char* const associated_sql =
    "SELECT associated_event_source.event_id,       associated_event_source.event_source_id,       "
    "event_source.name,       event_source.type FROM associated_event_source INNER JOIN event_source    "
    "ON associated_event_source.event_source_id=event_source.id%? INNER JOIN language  ON "
    "event_source.lang_code = language.id WHERE language.code=?   AND associated_event_source.id=?";
const char* const alarmsystem_sql =
    "SELECT alarmsystem_event_source.alarmsystem,       alarmsystem.name,       alarmsystem.status,       "
    "alarmsystem.last_disarm_time,       alarmsystem.last_arm_time,       alarmsystem.disarm_by_guard FROM "
    "alarmsystem_event_source INNER JOIN alarmsystem     ON "
    "alarmsystem_event_source.alarmsystem=alarmsystem.id "
    "WHERE alarmsystem_event_source.associated_event_source_id=?";
const char* const camera_sql =
    "SELECT camera.id, camera.is_disabled, camera.name, camera.user_name, camera.password, "
    "camera.internal_ip_addr, camera.internal_http_port, camera.internal_rtsp_port, "
    "camera.internal_recording_port, camera.hostname, camera.external_http_port, camera.external_rtsp_port, "
    "camera.connection_status, camera.lorivant_id, camera.is_trashed, camera_event_reaction.recording "
    "FROM camera_event_reaction INNER JOIN camera ON camera.id=camera_event_reaction.camera_id "
    "WHERE camera_event_reaction.id=? AND camera.is_trashed=0";
const char* const output_sql =
    "SELECT oer.connector_id,        connector.number,        connector.current_state,        "
    "GROUP_CONCAT(ca.application),        action,        delay,        duration FROM output_event_reaction "
    "oer          INNER JOIN connector on connector.id = oer.connector_id          INNER JOIN "
    "connector_application_assoc caa on connector.id = caa.connector_id          INNER JOIN "
    "connector_application ca on caa.connector_application = ca.application WHERE oer.id = ? GROUP BY "
    "oer.connector_id;";

const char* const event_sql[] = {sequence_sql,   insert_sql,      events_sql, language_sql,
                                 associated_sql, alarmsystem_sql, camera_sql, output_sql};

// The transaction statements, which the connection compiles once (dao_sqlite3_c): "BEGIN" and
// "COMMIT" also open and close the lookup's read transaction.
const char* const transaction_sql[] = {"BEGIN IMMEDIATE", "COMMIT", "BEGIN"};

constexpr uint64_t armed_event_source = 3;
constexpr uint64_t armed_message_id = 25;
constexpr uint64_t group_system = 4;

void check(int result, int expected, const char* what) {
    if (result != expected) throw std::runtime_error(std::string(what) + ": " + sqlite3_errstr(result));
}

// A statement per text: prepared once (REUSED) or for each use, reset and unbound before the
// use as the DAOs do, reset after it so that it holds no lock.
class statements_c {
public:
    statements_c(sqlite3* db, bench_statements_e mode) : db_(db), mode_(mode) {
        if (mode_ == bench_statements_e::REUSED)
            for (const char* sql : event_sql)
                prepared_[sql] = compile(sql);
    }
    ~statements_c() {
        for (auto& entry : prepared_)
            sqlite3_finalize(entry.second);
    }
    sqlite3_stmt* take(const char* sql) {
        sqlite3_stmt* stmt = mode_ == bench_statements_e::REUSED ? prepared_.at(sql) : compile(sql);
        sqlite3_reset(stmt);
        sqlite3_clear_bindings(stmt);
        return stmt;
    }
    void give_back(sqlite3_stmt* stmt) {
        if (mode_ == bench_statements_e::REUSED)
            sqlite3_reset(stmt);
        else
            sqlite3_finalize(stmt);
    }

private:
    sqlite3_stmt* compile(const char* sql) {
        sqlite3_stmt* stmt = nullptr;
        check(sqlite3_prepare_v2(db_, sql, -1, &stmt, nullptr), SQLITE_OK, "prepare");
        return stmt;
    }
    sqlite3* db_;
    bench_statements_e mode_;
    std::map<const char*, sqlite3_stmt*> prepared_;
};

struct configured_event_t {
    uint64_t associated = 0, camera = 0, output = 0;
};

// Every column read once with the type the DAO reads it as, so the ceiling does the same copying.
uint64_t sink = 0;
void read_row(sqlite3_stmt* stmt) {
    for (int column = 0, count = sqlite3_column_count(stmt); column < count; ++column) {
        if (sqlite3_column_type(stmt, column) == SQLITE_TEXT) {
            std::string text(reinterpret_cast<const char*>(sqlite3_column_text(stmt, column)));
            sink += text.size();
        } else {
            sink += static_cast<uint64_t>(sqlite3_column_int64(stmt, column));
        }
    }
}

void one_armed_event(dao_sqlite3_c& database, statements_c& statements, bool read_transaction) {
    database.exec_with_retry("BEGIN IMMEDIATE", 500, 6);
    sqlite3_stmt* stmt = statements.take(sequence_sql);
    check(sqlite3_step(stmt), SQLITE_ROW, "sequence");
    const uint64_t identifier = static_cast<uint64_t>(sqlite3_column_int64(stmt, 0)) + 1;
    statements.give_back(stmt);
    stmt = statements.take(insert_sql);
    const uint64_t values[] = {
        static_cast<uint64_t>(time(nullptr)), armed_message_id, group_system, 0, 0, 0, 0, 0, identifier};
    for (int i = 0; i < 9; ++i)
        sqlite3_bind_int64(stmt, i + 1, static_cast<sqlite3_int64>(values[i]));
    check(sqlite3_step(stmt), SQLITE_DONE, "insert");
    statements.give_back(stmt);
    database.exec_with_retry("COMMIT", 50, 7);

    if (read_transaction) database.exec_with_retry("BEGIN", 0, 6);
    std::vector<configured_event_t> events;
    stmt = statements.take(events_sql);
    sqlite3_bind_int64(stmt, 1, event_source_id_modulus);
    sqlite3_bind_int64(stmt, 2, armed_event_source);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        read_row(stmt);
        events.push_back({static_cast<uint64_t>(sqlite3_column_int64(stmt, 2)),
                          static_cast<uint64_t>(sqlite3_column_int64(stmt, 4)),
                          static_cast<uint64_t>(sqlite3_column_int64(stmt, 5))});
    }
    statements.give_back(stmt);

    for (const auto& event : events) {
        stmt = statements.take(language_sql);
        check(sqlite3_step(stmt), SQLITE_ROW, "language");
        const std::string language(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
        statements.give_back(stmt);

        stmt = statements.take(associated_sql);
        sqlite3_bind_int64(stmt, 1, event_source_id_modulus);
        sqlite3_bind_text(stmt, 2, language.c_str(), static_cast<int>(language.size()), SQLITE_TRANSIENT);
        sqlite3_bind_int64(stmt, 3, static_cast<sqlite3_int64>(event.associated));
        check(sqlite3_step(stmt), SQLITE_ROW, "associated source");
        read_row(stmt);
        statements.give_back(stmt);

        stmt = statements.take(alarmsystem_sql);
        sqlite3_bind_int64(stmt, 1, static_cast<sqlite3_int64>(event.associated));
        if (sqlite3_step(stmt) == SQLITE_ROW) read_row(stmt);
        statements.give_back(stmt);

        for (auto [sql, id] : {std::pair{camera_sql, event.camera}, {output_sql, event.output}}) {
            if (id == 0) continue;
            stmt = statements.take(sql);
            sqlite3_bind_int64(stmt, 1, static_cast<sqlite3_int64>(id));
            if (sqlite3_step(stmt) == SQLITE_ROW) read_row(stmt);
            statements.give_back(stmt);
        }
    }
    if (read_transaction) database.exec_with_retry("COMMIT", 0, 7);
}

// Runs `event` for a short warm-up, then for `seconds`, checking the clock every 32 events.
template <typename F>
bench_rate_t measure(double seconds, F event) {
    for (int i = 0; i < 200; ++i)
        event();
    bench_rate_t rate;
    const double cpu_start = bench_thread_cpu_seconds();
    const int64_t start = bench_now_ns();
    const int64_t end = start + static_cast<int64_t>(seconds * 1e9);
    int64_t now = start;
    while (now < end) {
        for (int i = 0; i < 32; ++i)
            event();
        rate.events += 32;
        now = bench_now_ns();
    }
    rate.seconds = static_cast<double>(now - start) / 1e9;
    rate.cpu_seconds = bench_thread_cpu_seconds() - cpu_start;
    return rate;
}

// Publishes to nowhere, counting: the reaction messages are still built and serialized.
class null_client_c : public ac_mqtt_client_interface {
public:
    int init(const char*, int, int, int) override { return 0; }
    void publish(const std::string& topic, const std::string& payload, bool) override {
        bytes += topic.size() + payload.size();
    }
    uint64_t bytes = 0;
};

// The connection the registry opens is not reachable from outside; its hooks see it.
sqlite3* service_connection = nullptr;
void capturing_update_hook(void* connection, int operation, const char* database, const char* table,
                           long long rowid) {
    service_connection = static_cast<sqlite3*>(connection);
    cas_broadcast_hook_helper_c::update_hook(connection, operation, database, table, rowid);
}

// The statements left prepared on the service's connection (the DAOs keep theirs) against
// the ceiling's: each line names a text that only one side runs.
std::string compare_statements() {
    std::vector<std::string> service, ceiling(std::begin(event_sql), std::end(event_sql));
    ceiling.insert(ceiling.end(), std::begin(transaction_sql), std::end(transaction_sql));
    for (sqlite3_stmt* stmt = sqlite3_next_stmt(service_connection, nullptr); stmt != nullptr;
         stmt = sqlite3_next_stmt(service_connection, stmt))
        service.emplace_back(sqlite3_sql(stmt));
    std::sort(service.begin(), service.end());
    std::sort(ceiling.begin(), ceiling.end());
    std::string differences;
    for (const auto& sql : service)
        if (!std::binary_search(ceiling.begin(), ceiling.end(), sql))
            differences += "  service only: " + sql + "\n";
    for (const auto& sql : ceiling)
        if (!std::binary_search(service.begin(), service.end(), sql))
            differences += "  ceiling only: " + sql + "\n";
    return differences;
}

} // namespace

bench_rate_t bench_sql_ceiling(const std::string& db_path, const bench_ceiling_options_t& options,
                               double seconds) {
    const bool hooks = options.broadcast;
    dao_sqlite3_c database(hooks ? cas_broadcast_hook_helper_c::update_hook : nullptr,
                           hooks ? cas_broadcast_hook_helper_c::rollback_hook : nullptr,
                           hooks ? cas_broadcast_hook_helper_c::commit_hook : nullptr);
    for (const char* pragma : {"foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF"})
        database.add_pragma(pragma);
    database.open(db_path);
    statements_c statements(database.get_handle(), options.statements);
    const char* notify_socket = getenv("NOTIFY_SOCKET");
    const std::string kept = notify_socket != nullptr ? notify_socket : "";
    if (!options.watchdog) unsetenv("NOTIFY_SOCKET");
    bench_rate_t rate = measure(
        seconds, [&] { one_armed_event(database, statements, options.lookup_in_one_read_transaction); });
    if (!kept.empty()) setenv("NOTIFY_SOCKET", kept.c_str(), 1);
    return rate;
}

bench_rate_t bench_service_path(const std::string& db_path, double seconds, std::string& mismatch) {
    dao_registry_c registry;
    uint32_t index = registry.add_database("acs_db", db_path,
                                           {"foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF"},
                                           capturing_update_hook, cas_broadcast_hook_helper_c::rollback_hook,
                                           cas_broadcast_hook_helper_c::commit_hook, true);
    register_all_dao_types(registry, index);
    // Never connected: the handler only registers its topics with it.
    auto unused_client = std::make_shared<ac_mqtt_client_c>("bench_service_path");
    ehs_alarm_handler_c handler(unused_client, registry);
    null_client_c client;
    const std::string payload = R"({"alarmsystem_id":1})";

    auto event = [&] {
        auto message = std::make_shared<msg_event_alarm_armed_c>();
        message->set_topic("events/alarmsystem/armed");
        if (message->deserialize(payload.c_str()) != 0) throw std::runtime_error("deserialize failed");
        handler.write_event_log_with_transaction(armed_message_id, group_system, 0, 0);
        std::vector<ehs_event_record_t> records;
        handler.find_event_reactions(armed_event_source, records);
        ehs_event_origin_t origin;
        origin.alarmsystem_id = message->alarmsystem_id;
        for (const auto& record : records)
            if (record.source && record.source->type == "alarmsystem")
                ehs_publish_reactions(client, record, message, origin);
    };
    bench_rate_t rate = measure(seconds, event);
    if (client.bytes == 0) throw std::runtime_error("the service path published no reaction");
    mismatch = service_connection != nullptr ? compare_statements() : "the service path wrote nothing\n";
    return rate;
}
