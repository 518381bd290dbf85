#include "dao/email_event_reaction_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

#include <algorithm>

std::shared_ptr<email_event_reaction_dao_t>
dao_implementation<email_event_reaction_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<email_event_reaction_dao_sqlite3_t>(std::move(database));
}

bool email_event_reaction_dao_sqlite3_t::get_email_event_reaction(uint64_t id, email_event_reaction_t& out) {
    auto stmt = statements_.prepare(
        *database_, "select contact.id,contact.name, contact.email, contact.phone "
                    "from email_event_reaction inner join email_event_reaction_assoc "
                    "on email_event_reaction.id=email_event_reaction_assoc.email_ev_reaction_id "
                    "inner join contact on contact.id=email_event_reaction_assoc.contact_id "
                    "where email_event_reaction.id=?");
    stmt.reset();
    stmt.bind(1, id);
    std::vector<contact_t> contacts;
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string, std::string, std::string>(
            0, [&](uint64_t contact_id, std::string name, std::string email, std::string phone) {
                contacts.push_back({contact_id, std::move(name), std::move(email), std::move(phone)});
            });
    if (contacts.empty()) return false;
    out.id = id;
    out.contacts = std::move(contacts);
    return true;
}

void email_event_reaction_dao_sqlite3_t::get_email_event_reactions(std::vector<email_event_reaction_t>& out) {
    auto stmt = statements_.prepare(
        *database_, "select email_event_reaction.id,contact.id,contact.name, contact.email, "
                    "contact.phone from email_event_reaction inner join email_event_reaction_assoc "
                    "on email_event_reaction.id=email_event_reaction_assoc.email_ev_reaction_id "
                    "inner join contact on contact.id=email_event_reaction_assoc.contact_id");
    stmt.reset();
    const size_t first = out.size();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, uint64_t, std::string, std::string,
                            std::string>(0, [&](uint64_t reaction_id, uint64_t contact_id, std::string name,
                                                std::string email, std::string phone) {
            // The rows of one reaction need not be adjacent: collect them by id.
            auto reaction =
                std::find_if(out.begin() + first, out.end(),
                             [&](const email_event_reaction_t& r) { return r.id == reaction_id; });
            if (reaction == out.end())
                reaction = out.insert(out.end(), email_event_reaction_t{reaction_id, {}});
            reaction->contacts.push_back({contact_id, std::move(name), std::move(email), std::move(phone)});
        });
}

uint64_t
email_event_reaction_dao_sqlite3_t::insert_email_event_reaction(uint64_t event_id,
                                                                const email_event_reaction_t& reaction) {
    auto stmt = statements_.prepare(*database_, "insert into email_event_reaction(event_id) values (?)");
    stmt.reset();
    stmt.bind(1, event_id);
    stmt.execute();
    const uint64_t id = database_->last_insert_rowid();
    insert_contacts(reaction, id);
    return id;
}

void email_event_reaction_dao_sqlite3_t::update_email_event_reaction(const email_event_reaction_t& reaction) {
    delete_contacts(reaction.id);
    insert_contacts(reaction, reaction.id);
}

void email_event_reaction_dao_sqlite3_t::delete_email_event_reaction(uint64_t id) {
    // Contacts first: not every installation's tables cascade, and a reaction id may be reused
    // by the next insert, which must not inherit these contacts.
    delete_contacts(id);
    auto stmt = statements_.prepare(*database_, "delete from email_event_reaction where id=?");
    stmt.reset();
    stmt.bind(1, id);
    stmt.execute();
}

void email_event_reaction_dao_sqlite3_t::delete_contacts(uint64_t reaction_id) {
    auto stmt = statements_.prepare(*database_,
                                    "delete from email_event_reaction_assoc where email_ev_reaction_id=?");
    stmt.reset();
    stmt.bind(1, reaction_id);
    stmt.execute();
}

void email_event_reaction_dao_sqlite3_t::insert_contacts(const email_event_reaction_t& reaction,
                                                         uint64_t reaction_id) {
    for (const contact_t& contact : reaction.contacts) {
        auto stmt = statements_.prepare(
            *database_,
            "insert into email_event_reaction_assoc(email_ev_reaction_id, contact_id) values (?,?)");
        stmt.reset();
        stmt.bind(1, reaction_id, contact.id);
        stmt.execute();
    }
}
