#include "dao/email_event_reaction_dao.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

namespace {

// "reaction: contact id email, ..." in the order read.
std::string text(const email_event_reaction_t& r) {
    std::string out = std::to_string(r.id) + ":";
    for (const contact_t& c : r.contacts)
        out += " " + std::to_string(c.id) + " " + c.name + " " + c.email + " " + c.phone + ",";
    return out;
}

} // namespace

TEST(email_event_reaction_dao_test, reads_the_contacts_in_the_order_they_were_written) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<email_event_reaction_dao_t>();

    email_event_reaction_t reaction;
    ASSERT_TRUE(dao->get_email_event_reaction(304, reaction));
    EXPECT_EQ(text(reaction), "304: 2 Security desk security@example.com +49 30 5550199, "
                              "1 Anna Berger anna.berger@example.com +49 30 5550101,");

    // A reaction without contacts has nobody to write to and reads as absent.
    db.exec("INSERT INTO email_event_reaction(id, event_id) VALUES (310, 9)");
    EXPECT_FALSE(dao->get_email_event_reaction(310, reaction));
    EXPECT_EQ(reaction.id, 304u);

    std::vector<email_event_reaction_t> all;
    dao->get_email_event_reactions(all);
    std::string ids;
    for (const auto& r : all)
        ids += std::to_string(r.id) + "(" + std::to_string(r.contacts.size()) + ") ";
    EXPECT_EQ(ids, "301(2) 302(1) 303(1) 304(2) 305(1) 306(1) 307(1) 308(1) 309(1) ");
    EXPECT_EQ(text(all[3]), text(reaction));
}

TEST(email_event_reaction_dao_test, writes_the_reaction_and_rewrites_its_contacts) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<email_event_reaction_dao_t>();

    email_event_reaction_t reaction;
    reaction.contacts = {{2, "", "", ""}, {1, "", "", ""}};
    reaction.id = dao->insert_email_event_reaction(9, reaction);
    const std::string assoc =
        "SELECT contact_id FROM email_event_reaction_assoc WHERE email_ev_reaction_id=" +
        std::to_string(reaction.id) + " ORDER BY id";
    EXPECT_EQ(db.rows("SELECT event_id FROM email_event_reaction WHERE id=" + std::to_string(reaction.id)),
              "9\n");
    EXPECT_EQ(db.rows(assoc), "2\n1\n");

    reaction.contacts = {{1, "", "", ""}};
    dao->update_email_event_reaction(reaction);
    EXPECT_EQ(db.rows(assoc), "1\n");

    dao->delete_email_event_reaction(reaction.id);
    EXPECT_EQ(db.rows("SELECT count(*) FROM email_event_reaction WHERE id=" + std::to_string(reaction.id)),
              "0\n");
    EXPECT_EQ(db.rows(assoc), "");
}
