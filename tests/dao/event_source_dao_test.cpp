#include "db/db_exception.h"
#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

namespace {

void expect_invalid_type(const std::function<void()>& call) {
    try {
        call();
        FAIL() << "corrupt type accepted";
    } catch (const std::logic_error& e) {
        EXPECT_STREQ(e.what(), "invalid value for sourceType");
    }
}

class event_source_dao_test : public ::testing::Test {
protected:
    associated_event_source_t associated(uint64_t id, const std::string& lang = "en") {
        associated_event_source_t out;
        dao_->get_associated_event(id, out, lang);
        return out;
    }

    test_database_c db_{test_database_c::WITH_DEMO};
    std::shared_ptr<event_source_dao_t> dao_ = db_.dao<event_source_dao_t>();
};

TEST_F(event_source_dao_test, catalogue_per_language_with_reduced_ids) {
    std::vector<event_source_t> english, german;
    dao_->get_event_sources("en", english);
    dao_->get_event_sources("de", german);
    EXPECT_EQ(texts(english),
              db_.rows("SELECT id, name, type FROM event_source WHERE lang_code=1 ORDER BY id"));
    EXPECT_EQ(texts(german),
              db_.rows("SELECT id-1000, name, type FROM event_source WHERE lang_code=2 ORDER BY id"));
    EXPECT_EQ(german.size(), 20u);

    std::vector<event_source_t> repeaters{{99, "kept", "general"}};
    dao_->get_event_sources_by_type("de", "repeater", repeaters);
    std::string ids;
    for (const auto& s : repeaters)
        ids += std::to_string(s.id()) + " ";
    EXPECT_EQ(ids, "99 7 8 9 17 19 ");

    std::vector<event_source_t> none;
    dao_->get_event_sources("fr", none);
    EXPECT_TRUE(none.empty());
}

TEST_F(event_source_dao_test, single_source_by_name_and_by_id) {
    event_source_t source;
    ASSERT_TRUE(dao_->get_event_source_by_name("de", "Alarm", source));
    EXPECT_EQ(text(source), "13|Alarm|alarmsystem");
    ASSERT_TRUE(dao_->get_event_source_by_name_and_type("en", "hotkey pressed", "general", source));
    EXPECT_EQ(text(source), "16|hotkey pressed|general");
    EXPECT_FALSE(dao_->get_event_source_by_name("de", "alarm", source));
    EXPECT_FALSE(dao_->get_event_source_by_name_and_type("en", "alarm", "general", source));
    EXPECT_EQ(text(source), "16|hotkey pressed|general");

    // The raw id of the translated row and the reduced id find the same source; the id given is echoed.
    ASSERT_TRUE(dao_->get_event_source_by_id(1012, "en", source));
    EXPECT_EQ(text(source), "1012|input changed|externalInput");
    ASSERT_TRUE(dao_->get_event_source_by_id(12, "en", source));
    EXPECT_EQ(text(source), "12|input changed|externalInput");
    ASSERT_TRUE(dao_->get_event_source_by_id(12, "de", source));
    EXPECT_EQ(text(source), "12|Eingang geändert|externalInput");
    EXPECT_FALSE(dao_->get_event_source_by_id(21, "en", source));
}

TEST_F(event_source_dao_test, every_detail_group_of_the_demo) {
    struct case_t {
        uint64_t id;
        std::string lang, expected;
    };
    for (const case_t& c : {
             case_t{51, "en", "1|2|access denied|lorivant lorivant 1|0|0|0|0"},
             case_t{65, "de", "15|11|Warnung Batteriezähler|lorivant lorivant 2|0|0|0|0"},
             case_t{58, "en", "8|7|repeater tamper|repeater repeater 1"},
             case_t{53, "en", "3|12|input changed|externalInput input 11|1|1|0|key_switch"},
             case_t{61, "de", "11|12|Eingang geändert|externalInput input 12|0|2|1|alarm_contact"},
             case_t{52, "en",
                    "2|13|alarm|alarmsystem alarmsystem 1|Intrusion alarm ground "
                    "floor|0|1700003600|1699970400|0"},
             case_t{60, "en", "10|3|armed|alarmsystem"}, // NULL: every alarm system, no detail row
             case_t{57, "en", "7|15|internet lost|general"},
         }) {
        SCOPED_TRACE(c.id);
        EXPECT_EQ(text(associated(c.id, c.lang)), c.expected);
    }
}

TEST_F(event_source_dao_test, unknown_associated_source_throws_and_leaves_the_record) {
    associated_event_source_t out = associated(58);
    for (auto [id, lang] : std::vector<std::pair<uint64_t, std::string>>{{99, "en"}, {58, "fr"}}) {
        try {
            dao_->get_associated_event(id, out, lang);
            FAIL() << "no row accepted";
        } catch (const db_exception_t& e) {
            EXPECT_STREQ(e.what(), "empty query");
            EXPECT_EQ(e.code, 2);
        }
    }
    EXPECT_EQ(text(out), "8|7|repeater tamper|repeater repeater 1");
}

TEST_F(event_source_dao_test, corrupt_type_fails_the_whole_call) {
    expect_invalid_type([] { event_source_t(1, "x", "door"); });
    event_source_t source(5, "tag unknown", "lorivant");
    expect_invalid_type([&] { source.fill(6, "x", "Lorivant"); });
    EXPECT_EQ(text(source), "5|tag unknown|lorivant");

    db_.exec("UPDATE event_source SET type='door' WHERE id=1005");
    std::vector<event_source_t> sources;
    expect_invalid_type([&] { dao_->get_event_sources("de", sources); });
    EXPECT_TRUE(sources.empty());
    expect_invalid_type([&] { dao_->get_event_source_by_id(5, "de", source); });
    expect_invalid_type([&] { associated(55, "de"); });
    EXPECT_EQ(text(associated(55, "en")), "5|5|tag unknown|lorivant lorivant 0|0|0|0|0");
}

TEST_F(event_source_dao_test, detail_rows_written_and_read_back) {
    dao_->insert_associated_event_source(4, 1);
    EXPECT_EQ(db_.rows("SELECT id, event_id, event_source_id FROM associated_event_source WHERE id=67"),
              "67|4|1\n");
    dao_->insert_lorivant_event_source(67, {2, 3, 4, true, 5});
    EXPECT_EQ(text(associated(67)), "4|1|access granted|lorivant lorivant 2|3|4|1|5");
    dao_->update_lorivant_event_source(67, {1, 6, 9, false, 8});
    dao_->clear_schedule_of_lorivant_event_sources(9);
    EXPECT_EQ(db_.rows("SELECT lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id "
                       "FROM lorivant_event_source WHERE associated_event_source_id=67"),
              "1|6|0|0|8\n");
    dao_->delete_lorivant_event_source(67);
    EXPECT_EQ(text(associated(67)), "4|1|access granted|lorivant");

    dao_->update_associated_event_source(67, 17);
    dao_->insert_repeater_event_source(67, 1);
    dao_->update_repeater_event_source(67, 0);
    EXPECT_EQ(text(associated(67)), "4|17|repeater signal loss|repeater repeater 0");
    dao_->delete_repeater_event_source(67);

    // Connector 22 has two applications; which event source joins them does not matter.
    dao_->update_associated_event_source(67, 12);
    dao_->insert_input_event_source(67, 11, 0);
    dao_->update_input_event_source(67, 22, 1);
    auto input = associated(67).input;
    ASSERT_TRUE(input);
    EXPECT_EQ(input->connector_id, 22u);
    EXPECT_EQ(input->activate_signal, 1u);
    EXPECT_EQ(input->number, 2u);
    EXPECT_TRUE(input->applications == "door_opener,light" || input->applications == "light,door_opener")
        << input->applications;
    dao_->delete_input_event_source(67);
    EXPECT_FALSE(associated(67).input);
}

TEST_F(event_source_dao_test, alarmsystem_zero_is_stored_as_null) {
    dao_->insert_associated_event_source(10, 4);
    dao_->insert_alarmsystem_event_source(67, 0);
    const std::string row =
        "SELECT alarmsystem FROM alarmsystem_event_source WHERE associated_event_source_id=67";
    EXPECT_EQ(db_.rows(row), "NULL\n");
    EXPECT_EQ(text(associated(67)), "10|4|disarmed|alarmsystem");
    dao_->update_alarmsystem_event_source(67, 1);
    EXPECT_EQ(db_.rows(row), "1\n");
    dao_->update_alarmsystem_event_source(67, 0);
    EXPECT_EQ(db_.rows(row), "NULL\n");
    dao_->delete_alarmsystem_event_source(67);
    EXPECT_EQ(db_.rows(row), "");
    dao_->insert_alarmsystem_event_source(67, 1);
    EXPECT_EQ(db_.rows(row), "1\n");
}

} // namespace
