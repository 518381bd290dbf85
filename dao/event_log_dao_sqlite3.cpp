#include "dao/event_log_dao_sqlite3.h"

#include "db/db_exception.h"
#include "db/sqlite3_statement.h"

namespace {

// A lookup that must find a row: the sequence row before an insert, the row after a gap.

db_exception_t empty_query() {
    return db_exception_t("empty query", db_code_empty_query);
}

} // namespace

std::shared_ptr<event_log_dao_t>
dao_implementation<event_log_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<event_log_dao_sqlite3_t>(std::move(database));
}

void event_log_dao_sqlite3_t::insert_event_log(uint64_t datetime, uint64_t message_id,
                                               uint64_t event_log_group_id, uint64_t lorivant_id,
                                               uint64_t camera_id, uint64_t repeater_id, uint64_t user_id,
                                               uint64_t slave_id) {
    // The identifier is the row id this row is about to get, so that local identifiers and row
    // ids stay equal; the caller's immediate transaction keeps other writers out in between.
    uint64_t identifier = 1;
    auto sequence = statements_.prepare(*database_, "SELECT seq from sqlite_sequence where name='event_log'");
    if (sequence.execute() != db_row) throw empty_query();
    sequence.fetch_part_row<uint64_t>(0, [&](uint64_t seq) { identifier = seq + 1; });

    auto stmt = statements_.prepare(*database_, R"(
        INSERT INTO event_log(datetime,message_id,event_log_group_id,lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier)
        VALUES (?,?,?,?,?,?,?,?,?)
    )");
    stmt.reset();
    stmt.bind(1, datetime, message_id, event_log_group_id, lorivant_id, camera_id, repeater_id, user_id,
              slave_id, identifier);
    stmt.execute();
}

uint64_t event_log_dao_sqlite3_t::get_max_identifier_of_slave(uint64_t slave_id) {
    return read_number("SELECT max(identifier) FROM event_log WHERE slave_id=?", slave_id);
}

void event_log_dao_sqlite3_t::get_latest_event_log_by_slave(std::vector<slave_latest_identifier_t>& latest) {
    auto stmt =
        statements_.prepare(*database_, "SELECT max(identifier),slave_id FROM event_log group by slave_id");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, uint64_t>(0, [&](uint64_t max_identifier, uint64_t slave_id) {
            latest.push_back({max_identifier, slave_id});
        });
}

uint64_t event_log_dao_sqlite3_t::get_row_count_since_identifier(uint64_t identifier) {
    return read_number("SELECT count(*) FROM event_log where identifier>?", identifier);
}

void event_log_dao_sqlite3_t::get_row_count_identifier_difference(std::vector<slave_identifier_gap_t>& gaps) {
    auto stmt = statements_.prepare(
        *database_, "select max(identifier)-min(identifier)-count(*)+1,max(identifier),"
                    "min(identifier),slave_id from event_log where slave_id>0 group by slave_id");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, uint64_t, uint64_t, uint64_t>(
            0, [&](uint64_t missing, uint64_t max_identifier, uint64_t min_identifier, uint64_t slave_id) {
                // Read with its bit pattern kept, so a negative difference survives the cast.
                gaps.push_back({static_cast<int64_t>(missing), max_identifier, min_identifier, slave_id});
            });
}

void event_log_dao_sqlite3_t::get_missing_logs_by_slave(uint64_t slave_id, uint64_t max_count, uint64_t after,
                                                        uint64_t before, std::vector<uint64_t>& missing) {
    // A gap start is a present identifier whose successor is absent.
    std::vector<uint64_t> gap_starts;
    auto starts = statements_.prepare(
        *database_, "select identifier from event_log el1 where not exists(select identifier "
                    "from event_log el2 where el2.identifier=el1.identifier+1 and "
                    "el2.slave_id=el1.slave_id) and slave_id=? and identifier>? and "
                    "identifier<?");
    starts.reset();
    starts.bind(1, slave_id, after, before);
    while (starts.execute() == db_row)
        starts.fetch_part_row<uint64_t>(0, [&](uint64_t identifier) { gap_starts.push_back(identifier); });

    uint64_t remaining = max_count;
    for (uint64_t gap_start : gap_starts) {
        if (remaining == 0) break;
        auto next = statements_.prepare(
            *database_, "select identifier from event_log where slave_id=? and identifier>? limit 1");
        next.reset();
        next.bind(1, slave_id, gap_start);
        if (next.execute() != db_row) throw empty_query();
        uint64_t gap_end = 0;
        next.fetch_part_row<uint64_t>(0, [&](uint64_t identifier) { gap_end = identifier; });
        for (uint64_t identifier = gap_start + 1; identifier < gap_end && remaining > 0;
             ++identifier, --remaining)
            missing.push_back(identifier);
    }
}

uint64_t event_log_dao_sqlite3_t::get_datetime_of_most_recent_event_log_of_lorivant(uint64_t lorivant_id) {
    return read_number("SELECT MAX(datetime) FROM event_log WHERE lorivant_id=?", lorivant_id);
}

uint64_t event_log_dao_sqlite3_t::get_datetime_of_most_recent_event_log_of_repeater(uint64_t repeater_id) {
    return read_number("SELECT MAX(datetime) FROM event_log WHERE repeater_id=?", repeater_id);
}

void event_log_dao_sqlite3_t::delete_all_event_logs() {
    auto stmt = statements_.prepare(*database_, "DELETE FROM event_log");
    stmt.reset();
    stmt.execute();
}

void event_log_dao_sqlite3_t::delete_event_logs_before(uint64_t datetime) {
    write("DELETE FROM event_log WHERE datetime < ?", datetime);
}

void event_log_dao_sqlite3_t::keep_newest_event_logs(uint64_t count) {
    write(
        "DELETE FROM event_log    WHERE id NOT IN        (SELECT id from event_log ORDER BY id DESC LIMIT ?)",
        count);
}

void event_log_dao_sqlite3_t::delete_event_logs_below_identifier(uint64_t identifier) {
    write("DELETE FROM event_log WHERE identifier < ?", identifier);
}

void event_log_dao_sqlite3_t::set_event_log_sequence(uint64_t value) {
    write("UPDATE sqlite_sequence set seq=? where name='event_log'", value);
}

void event_log_dao_sqlite3_t::get_event_log_groups(std::vector<event_log_group_t>& groups) {
    auto stmt = statements_.prepare(*database_, "SELECT id,name FROM event_log_group");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string>(0, [&](uint64_t id, std::string name) {
            groups.push_back({id, std::move(name)});
        });
}

uint64_t event_log_dao_sqlite3_t::read_number(const char* sql, uint64_t argument) {
    auto stmt = statements_.prepare(*database_, sql);
    stmt.reset();
    stmt.bind(1, argument);
    uint64_t value = 0; // an aggregate over no rows is NULL, which reads as 0
    if (stmt.execute() == db_row) stmt.fetch_part_row<uint64_t>(0, [&](uint64_t v) { value = v; });
    return value;
}

void event_log_dao_sqlite3_t::write(const char* sql, uint64_t argument) {
    auto stmt = statements_.prepare(*database_, sql);
    stmt.reset();
    stmt.bind(1, argument);
    stmt.execute();
}
