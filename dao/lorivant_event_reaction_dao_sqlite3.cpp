#include "dao/lorivant_event_reaction_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

#include <stdexcept>
#include <string>

std::shared_ptr<lorivant_event_reaction_dao_t>
dao_implementation<lorivant_event_reaction_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<lorivant_event_reaction_dao_sqlite3_t>(std::move(database));
}

namespace {

using office_mode_t = lorivant_event_reaction_t::office_mode_t;
using panic_mode_t = lorivant_event_reaction_t::panic_mode_t;

// Signed values travel through the 64-bit binding and reading with their bit pattern intact,
// so -1 ("no limit", "no panic mode") is stored and read back as -1.
uint64_t to_column(int64_t value) {
    return static_cast<uint64_t>(value);
}
int64_t from_column(uint64_t value) {
    return static_cast<int64_t>(value);
}

// The mode columns of a row decide the mode: panic_mode -1 (NULL) is an office-mode reaction.
std::shared_ptr<lorivant_event_reaction_t::mode_t> mode_of_row(uint64_t duration, int64_t counts,
                                                               int64_t panic_mode) {
    if (panic_mode == -1) {
        auto office = std::make_shared<office_mode_t>();
        office->duration = duration;
        office->counts = counts;
        return office;
    }
    auto panic = std::make_shared<panic_mode_t>();
    panic->panic_mode = panic_mode;
    return panic;
}

const panic_mode_t& panic_mode_of(const lorivant_event_reaction_t& reaction) {
    const auto* panic = dynamic_cast<const panic_mode_t*>(reaction.mode.get());
    if (panic == nullptr) throw std::invalid_argument("lorivant event reaction without office or panic mode");
    return *panic;
}

} // namespace

bool lorivant_event_reaction_dao_sqlite3_t::get_lorivant_event_reaction(uint64_t id,
                                                                        lorivant_event_reaction_t& out) {
    auto stmt = statements_.prepare(
        *database_, "SELECT lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), "
                    "IFNULL(panic_mode,-1) FROM lorivant_event_reaction WHERE id=?");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<uint64_t, uint64_t, uint64_t, uint64_t, uint64_t>(
        0, [&](uint64_t lorivant_id, uint64_t access_group_id, uint64_t duration, uint64_t counts,
               uint64_t panic_mode) {
            out.id = id;
            out.lorivant_id = lorivant_id;
            out.access_group_id = access_group_id;
            out.mode = mode_of_row(duration, from_column(counts), from_column(panic_mode));
        });
    return true;
}

void lorivant_event_reaction_dao_sqlite3_t::get_lorivant_event_reactions(
    std::vector<lorivant_event_reaction_t>& out) {
    auto stmt = statements_.prepare(*database_,
                                    "SELECT id, lorivant_id, access_group_id, IFNULL(duration, 0), "
                                    "IFNULL(counts, -1), IFNULL(panic_mode,-1) FROM lorivant_event_reaction");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t>(
            0, [&](uint64_t id, uint64_t lorivant_id, uint64_t access_group_id, uint64_t duration,
                   uint64_t counts, uint64_t panic_mode) {
                out.push_back({id, lorivant_id, access_group_id,
                               mode_of_row(duration, from_column(counts), from_column(panic_mode))});
            });
}

uint64_t lorivant_event_reaction_dao_sqlite3_t::insert_lorivant_event_reaction(
    uint64_t event_id, const lorivant_event_reaction_t& reaction) {
    if (const auto* office = dynamic_cast<const office_mode_t*>(reaction.mode.get())) {
        write("INSERT INTO lorivant_event_reaction(event_id, lorivant_id, access_group_id, "
              "duration, counts) VALUES(?,?,?,?,?);",
              event_id, reaction.lorivant_id, reaction.access_group_id, office->duration,
              to_column(office->counts));
    } else {
        write("INSERT INTO lorivant_event_reaction(event_id, lorivant_id, access_group_id, "
              "panic_mode) VALUES(?,?,?,?);",
              event_id, reaction.lorivant_id, reaction.access_group_id,
              to_column(panic_mode_of(reaction).panic_mode));
    }
    return database_->last_insert_rowid();
}

void lorivant_event_reaction_dao_sqlite3_t::update_lorivant_event_reaction(
    const lorivant_event_reaction_t& reaction) {
    if (const auto* office = dynamic_cast<const office_mode_t*>(reaction.mode.get())) {
        write("UPDATE lorivant_event_reaction SET lorivant_id=?, access_group_id=?, "
              "duration=?, counts=?, panic_mode=NULL WHERE id=?;",
              reaction.lorivant_id, reaction.access_group_id, office->duration, to_column(office->counts),
              reaction.id);
    } else {
        write("UPDATE lorivant_event_reaction SET lorivant_id=?, access_group_id=?, "
              "duration=NULL, counts=NULL, panic_mode=? WHERE id=?;",
              reaction.lorivant_id, reaction.access_group_id, to_column(panic_mode_of(reaction).panic_mode),
              reaction.id);
    }
}

void lorivant_event_reaction_dao_sqlite3_t::delete_lorivant_event_reaction(uint64_t id) {
    write("DELETE FROM lorivant_event_reaction WHERE id=?", id);
}

void lorivant_event_reaction_dao_sqlite3_t::start_office_mode(uint64_t reaction_id, uint64_t lorivant_id,
                                                              uint64_t lorivant_hw_id,
                                                              uint64_t access_group_id, uint64_t timestamp,
                                                              uint64_t duration, int64_t counts_remaining) {
    write("INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc "
          "(lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, "
          "timestamp, duration, counts_remaining ) "
          "VALUES(?,NULLIF(?,0),NULLIF(?,0),NULLIF(?,0),?,?,?);",
          reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, duration,
          to_column(counts_remaining));
}

void lorivant_event_reaction_dao_sqlite3_t::start_manual_office_mode(uint64_t lorivant_id,
                                                                     uint64_t lorivant_hw_id,
                                                                     uint64_t timestamp, uint64_t duration,
                                                                     int64_t counts_remaining) {
    // The key comes from the component's running manual mode, if any, so that the new mode
    // replaces it instead of running next to it.
    write("INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc     "
          "(lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, "
          "duration, counts_remaining) VALUES(     (        "
          "SELECT lorivant_event_reaction_id FROM lorivant_event_reaction_office_mode_assoc         "
          "WHERE lorivant_id=? AND lorivant_event_reaction_id IS NULL     )    ,?,?,NULL,?,?,?); ",
          lorivant_id, lorivant_id, lorivant_hw_id, timestamp, duration, to_column(counts_remaining));
}

void lorivant_event_reaction_dao_sqlite3_t::stop_manual_office_mode(uint64_t lorivant_id) {
    write("DELETE FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_id=? AND "
          "lorivant_event_reaction_id IS NULL",
          lorivant_id);
}

bool lorivant_event_reaction_dao_sqlite3_t::is_office_mode_active(uint64_t reaction_id) {
    auto stmt = statements_.prepare(*database_,
                                    "SELECT COUNT(*) FROM lorivant_event_reaction_office_mode_assoc WHERE "
                                    "lorivant_event_reaction_id=?");
    stmt.reset();
    stmt.bind(1, reaction_id);
    uint64_t count = 0;
    if (stmt.execute() == db_row) stmt.fetch_part_row<uint64_t>(0, [&](uint64_t v) { count = v; });
    return count > 0;
}

void lorivant_event_reaction_dao_sqlite3_t::stop_office_mode(uint64_t reaction_id) {
    write("DELETE FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_event_reaction_id=?",
          reaction_id);
}

void lorivant_event_reaction_dao_sqlite3_t::update_office_mode(uint64_t reaction_id, uint64_t lorivant_id,
                                                               uint64_t lorivant_hw_id,
                                                               uint64_t access_group_id) {
    write("UPDATE lorivant_event_reaction_office_mode_assoc SET lorivant_id=NULLIF(?,0), "
          "lorivant_hw_id=NULLIF(?,0), access_group_id=NULLIF(?,0) "
          "WHERE lorivant_event_reaction_id=?;",
          lorivant_id, lorivant_hw_id, access_group_id, reaction_id);
}

void lorivant_event_reaction_dao_sqlite3_t::count_office_mode_passage(uint64_t lorivant_hw_id,
                                                                      uint64_t access_group_id) {
    // Modes for every component (no hardware id, no group), for this component or for this
    // group; counts_remaining>0 keeps used-up and unlimited (negative) modes as they are.
    write(
        "UPDATE lorivant_event_reaction_office_mode_assoc SET counts_remaining=counts_remaining-1 "
        "WHERE counts_remaining>0 AND (    lorivant_event_reaction_id IN         "
        "(SELECT lorivant_event_reaction_id          FROM lorivant_event_reaction_office_mode_assoc         "
        "WHERE (                        ( lorivant_hw_id IS NULL AND access_group_id IS NULL )               "
        "      "
        "OR ( lorivant_hw_id IS NOT NULL AND lorivant_hw_id=NULLIF(?,0) AND access_group_id IS NULL )        "
        "     "
        "        OR ( lorivant_hw_id IS NULL AND access_group_id IS NOT NULL AND access_group_id=NULLIF(?,0) "
        ")     "
        "           )         )     OR lorivant_hw_id=? OR access_group_id=? )",
        lorivant_hw_id, access_group_id, lorivant_hw_id, access_group_id);
}

void lorivant_event_reaction_dao_sqlite3_t::expire_office_modes(uint64_t now) {
    write("DELETE FROM lorivant_event_reaction_office_mode_assoc WHERE counts_remaining=0 "
          "OR timestamp+duration<?",
          now);
}

void lorivant_event_reaction_dao_sqlite3_t::correct_office_mode_clock(int64_t difference) {
    // The installation's historical text says "WHERE timestamp NOT IS NULL", which SQLite does
    // not parse (there is no "NOT IS" operator); "IS NOT NULL" is what it means.
    write("UPDATE lorivant_event_reaction_office_mode_assoc SET timestamp=timestamp+(?) "
          "WHERE timestamp IS NOT NULL",
          to_column(difference));
}

void lorivant_event_reaction_dao_sqlite3_t::start_panic_mode(uint64_t reaction_id, uint64_t lorivant_id,
                                                             uint64_t lorivant_hw_id,
                                                             uint64_t access_group_id) {
    write("INSERT INTO lorivant_event_reaction_panic_mode_assoc (lorivant_event_reaction_id, "
          "lorivant_id, lorivant_hw_id, access_group_id ) "
          "VALUES(?,NULLIF(?,0),NULLIF(?,0),NULLIF(?,0));",
          reaction_id, lorivant_id, lorivant_hw_id, access_group_id);
}

void lorivant_event_reaction_dao_sqlite3_t::update_panic_mode(uint64_t reaction_id, uint64_t lorivant_id,
                                                              uint64_t lorivant_hw_id,
                                                              uint64_t access_group_id) {
    write("UPDATE lorivant_event_reaction_panic_mode_assoc SET lorivant_id=NULLIF(?,0), "
          "lorivant_hw_id=NULLIF(?,0), access_group_id=NULLIF(?,0) "
          "WHERE lorivant_event_reaction_id=?;",
          lorivant_id, lorivant_hw_id, access_group_id, reaction_id);
}

bool lorivant_event_reaction_dao_sqlite3_t::is_panic_mode_active(uint64_t reaction_id) {
    auto stmt = statements_.prepare(
        *database_, "SELECT lorivant_event_reaction_id FROM lorivant_event_reaction_panic_mode_assoc "
                    "WHERE lorivant_event_reaction_id=?");
    stmt.reset();
    stmt.bind(1, reaction_id);
    return stmt.execute() == db_row;
}

void lorivant_event_reaction_dao_sqlite3_t::stop_panic_mode(uint64_t reaction_id) {
    write("DELETE FROM lorivant_event_reaction_panic_mode_assoc WHERE lorivant_event_reaction_id=?",
          reaction_id);
}

template <typename... Values>
void lorivant_event_reaction_dao_sqlite3_t::write(const char* sql, const Values&... values) {
    auto stmt = statements_.prepare(*database_, sql);
    stmt.reset();
    stmt.bind(1, values...);
    stmt.execute();
}
