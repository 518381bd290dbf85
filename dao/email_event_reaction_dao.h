#pragma once
// E-mail reactions and the contacts they go to. A reaction is read through its contacts, so a
// reaction without any contact reads as absent: there would be nobody to write to.
// One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct contact_t {
    uint64_t id = 0;
    std::string name, email, phone;
};

struct email_event_reaction_t {
    uint64_t id = 0;
    std::vector<contact_t> contacts; // in the order read
};

class email_event_reaction_dao_t : public dao_t {
public:
    // False when no contact row comes back (out untouched).
    virtual bool get_email_event_reaction(uint64_t id, email_event_reaction_t& out) = 0;
    // Appends one record per reaction that has contacts, in the order the reactions are met.
    virtual void get_email_event_reactions(std::vector<email_event_reaction_t>& out) = 0;
    // The reaction row and one row per contact (only the contacts' ids are used); returns the
    // new reaction's id. Call inside a transaction so that the row and its contacts land together.
    virtual uint64_t insert_email_event_reaction(uint64_t event_id,
                                                 const email_event_reaction_t& reaction) = 0;
    // Replaces the contacts of `reaction.id` with `reaction.contacts`; inside a transaction, too.
    virtual void update_email_event_reaction(const email_event_reaction_t& reaction) = 0;
    virtual void delete_email_event_reaction(uint64_t id) = 0;
};

template <>
struct dao_implementation<email_event_reaction_dao_t> {
    static std::shared_ptr<email_event_reaction_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
