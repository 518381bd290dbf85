#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

namespace {

class event_dao_test : public ::testing::Test {
protected:
    std::string events_of(uint64_t event_source_id) {
        std::vector<event_t> events;
        dao_->get_events_of_event_source(event_source_id, events);
        return texts(events);
    }

    test_database_c db_{test_database_c::WITH_DEMO};
    std::shared_ptr<event_dao_t> dao_ = db_.dao<event_dao_t>();
};

TEST_F(event_dao_test, events_of_one_event_source) {
    EXPECT_EQ(events_of(2), "1|Front door access denied|51|0|101|0|301|0\n");
    EXPECT_EQ(events_of(12),
              "3|Key switch office mode|53|0|0|0|0|401\n11|Fire alarm panic mode|61|0|0|0|0|402\n");
    EXPECT_EQ(events_of(4), "");
    EXPECT_EQ(events_of(16),
              "4|Hotkey open gate|54|1|0|202|0|0\n16|Hotkey staff office mode|66|2|0|0|0|403\n");

    // An event that stored the German row id is found by the language-independent id as well.
    db_.exec("UPDATE associated_event_source SET event_source_id=1012 WHERE id=61");
    EXPECT_EQ(events_of(12),
              "3|Key switch office mode|53|0|0|0|0|401\n11|Fire alarm panic mode|61|0|0|0|0|402\n");

    std::vector<event_t> events(1);
    dao_->get_events_of_event_source(7, events);
    EXPECT_EQ(texts(events), "0||0|0|0|0|0|0\n8|Repeater tamper|58|0|0|203|0|0\n");
}

TEST_F(event_dao_test, read_and_update_events) {
    event_t event;
    ASSERT_TRUE(dao_->get_event(12, event));
    EXPECT_EQ(text(event), "12|Door component signal loss|62|0|0|0|306|0");
    EXPECT_FALSE(dao_->get_event(99, event));
    EXPECT_EQ(event.id, 12u);

    std::vector<event_t> events;
    dao_->get_events(events);
    ASSERT_EQ(events.size(), 16u);
    EXPECT_EQ(text(events[1]), "2|Intrusion alarm|52|0|102|201|0|0");

    dao_->update_event({5, "Unknown tag at the gate", 54, 2, 101, 202, 303, 403});
    EXPECT_EQ(db_.rows("SELECT id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id, "
                       "output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id "
                       "FROM event WHERE id=5"),
              "5|Unknown tag at the gate|54|2|101|202|303|403\n");
}

TEST_F(event_dao_test, tamper_settings) {
    auto read = [&] {
        event_settings_t s{-1, -1, -1};
        return dao_->get_event_settings(s) ? text(s) : "none";
    };
    EXPECT_EQ(read(), "1|1|1");
    dao_->set_event_settings({0, 1, 0});
    EXPECT_EQ(db_.rows("SELECT id, lid_tamper, back_tamper, repeater_tamper FROM event_settings"),
              "1|0|1|0\n");
    db_.exec("UPDATE event_settings SET lid_tamper=1, back_tamper=0, repeater_tamper=2");
    EXPECT_EQ(read(), "1|0|2");
    db_.exec("DELETE FROM event_settings");
    EXPECT_EQ(read(), "none");
}

TEST_F(event_dao_test, input_connectors_used_by_events) {
    // A second event on input1: still one entry, its application not repeated.
    db_.exec("INSERT INTO event(id, name, associated_event_source_id) VALUES (17, 'Key switch off', 67);"
             "INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (67, 17, 12);"
             "INSERT INTO input_event_source(associated_event_source_id, connector_id, activate_signal) "
             "VALUES (67, 11, 0)");
    std::vector<input_event_source_t> sources;
    dao_->get_input_event_sources(sources);
    ASSERT_EQ(sources.size(), 2u);
    EXPECT_EQ(sources[0].id, 11u);
    EXPECT_EQ(sources[0].applications, "key_switch");
    EXPECT_EQ(text(sources[1]), "12|input|2|1|alarm_contact|0");
}

} // namespace
