// Micro-benchmarks of the steps of one event: deserializing the payload, writing the event-log
// row, looking up the reactions, serializing a reaction, and what statement reuse saves. On a
// file database built like the end-to-end benchmark's (schema and the benchmark's
// installation), registered like the service's but without the change-broadcast hooks (they
// need a reader of the queue; ehs_bench measures them). Run through scripts/bench.sh or alone
// with the usual Google Benchmark options.
#include "bench/bench_database.h"
#include "bench/bench_system.h"
#include "dao/dao_registration.h"
#include "dao/event_log_dao.h"
#include "db/dao_registry.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"
#include "db/transaction_dao.h"
#include "eventhandling/ehs_alarm_handler.h"
#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_reaction_io_output.h"
#include "mqtt/ac_mqtt_client.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <stdexcept>

namespace {

// One database and one alarm handler (never connected) for all benchmarks of the process.
struct installation_t {
    installation_t() {
        bench_build_database(dir.file("acs.db"), false);
        uint32_t index = registry.add_database("acs_db", dir.file("acs.db"),
                                               {"foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF"},
                                               nullptr, nullptr, nullptr, false);
        register_all_dao_types(registry, index);
        handler =
            std::make_unique<ehs_alarm_handler_c>(std::make_shared<ac_mqtt_client_c>("micro"), registry);
        database.add_pragma("journal_mode=MEMORY");
        database.open(dir.file("acs.db"));
    }
    bench_temp_dir_c dir;
    dao_registry_c registry;
    std::unique_ptr<ehs_alarm_handler_c> handler;
    dao_sqlite3_c database; // a connection of its own for the statement benchmarks
};

installation_t& installation() {
    static installation_t instance;
    return instance;
}

const char* const events_of_source_sql =
    "select event.id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id,"
    "output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id from event inner join "
    "associated_event_source on associated_event_source.id=associated_event_source_id where "
    "associated_event_source.event_source_id in (     select event_source.id     from event_source     "
    "where event_source.id%?=? )";

void deserialize_armed(benchmark::State& state) {
    const char* payload = R"({"alarmsystem_id":1})";
    for (auto _ : state) {
        msg_event_alarm_armed_c message;
        benchmark::DoNotOptimize(message.deserialize(payload));
    }
}
BENCHMARK(deserialize_armed);

void deserialize_access_granted(benchmark::State& state) {
    const char* payload = R"({"hardware_id":1001001,"tag_id":"04A1B2C3"})";
    for (auto _ : state) {
        msg_event_hwid_tagid_c message;
        benchmark::DoNotOptimize(message.deserialize(payload));
    }
}
BENCHMARK(deserialize_access_granted);

void serialize_output_reaction(benchmark::State& state) {
    msg_event_reaction_io_output_c message;
    message.connector = "output1";
    message.signal = "Open Timed";
    message.duration = 5;
    for (auto _ : state)
        benchmark::DoNotOptimize(message.serialize());
}
BENCHMARK(serialize_output_reaction);

// The handler's whole write: BEGIN IMMEDIATE, sequence read, insert, COMMIT.
void event_log_write(benchmark::State& state) {
    ehs_alarm_handler_c& handler = *installation().handler;
    for (auto _ : state)
        handler.write_event_log_with_transaction(25, 4, 0, 0);
}
BENCHMARK(event_log_write);

// The DAO's insert alone, many rows in one transaction: what the statements cost without the
// transaction's file locking and writing.
void event_log_insert_in_open_transaction(benchmark::State& state) {
    auto transactions = installation().registry.get_dao<transaction_dao_t>();
    auto event_log = installation().registry.get_dao<event_log_dao_t>();
    transactions->begin_transaction(0);
    for (auto _ : state)
        event_log->insert_event_log(1700000000, 25, 4, 0, 0, 0, 0, 0);
    transactions->commit_transaction(0);
}
BENCHMARK(event_log_insert_in_open_transaction);

// The armed event's lookup: its configured event, language, source, camera and output reaction.
void reaction_lookup_armed(benchmark::State& state) {
    ehs_alarm_handler_c& handler = *installation().handler;
    for (auto _ : state) {
        std::vector<ehs_event_record_t> records;
        handler.find_event_reactions(3, records);
        if (records.size() != 1 || !records[0].camera || !records[0].output)
            throw std::runtime_error("the armed event's reactions are missing");
    }
}
BENCHMARK(reaction_lookup_armed);

// The statement that reads the events of a source, compiled for each call as before, and
// taken from a cache as the DAOs do now.
void events_of_source(benchmark::State& state, bool reused) {
    dao_sqlite3_c& database = installation().database;
    sqlite3_statement_cache_c cache;
    for (auto _ : state) {
        uint64_t rows = 0;
        auto run = [&](sqlite3_statement_t& stmt) {
            stmt.reset();
            stmt.bind(1, uint64_t{1000}, uint64_t{3});
            while (stmt.execute() == db_row)
                ++rows;
        };
        if (reused) {
            auto stmt = cache.prepare(database, events_of_source_sql);
            run(stmt);
        } else {
            auto stmt = prepare(database, events_of_source_sql);
            run(stmt);
        }
        benchmark::DoNotOptimize(rows);
    }
}
BENCHMARK_CAPTURE(events_of_source, prepared_per_call, false);
BENCHMARK_CAPTURE(events_of_source, reused, true);

} // namespace

BENCHMARK_MAIN();
