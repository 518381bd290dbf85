// Door-component reactions of external inputs: the demo's key switch (input1, "High") starts
// office mode on the front door, the fire alarm contact (input2, "Low") panic mode everywhere.
#include "tests/eventhandling/handler_test_fixture.h"

#include <ctime>

namespace {

const std::string input1_high = R"({"connector":"input1","signal":"High","source":0})";
const std::string input2_low = R"({"connector":"input2","signal":"Low","source":0})";
const std::string office_401 = "401|1|1001001|NULL|3600|20\n";

class ehs_input_handler_test : public ehs_handler_test_c {
protected:
    std::string office_assoc() {
        return db_.rows(
            "SELECT lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, duration, "
            "counts_remaining FROM lorivant_event_reaction_office_mode_assoc");
    }
    std::string office_columns() {
        return db_.rows("SELECT id, office_mode, office_mode_event_reaction_id, office_mode_event_duration, "
                        "office_mode_event_counts_remaining, panic_mode_active FROM lorivant ORDER BY id");
    }
};

TEST_F(ehs_input_handler_test, office_mode_is_stored_then_published_and_panic_mode_stored_once) {
    start();
    const auto before = static_cast<uint64_t>(time(nullptr));
    EXPECT_EQ(reactions_to("events/external_io/input", input1_high),
              lines_t{R"(event_reactions/end_device/lorivant {"lorivant_event_reaction_id":401,)"
                      R"("lorivant_id":1,"accessgroup_id":0,"duration":3600,"counts":20})"});
    const auto after = static_cast<uint64_t>(time(nullptr));
    EXPECT_EQ(office_assoc(), office_401);
    EXPECT_EQ(office_columns(), "1|1|401|3600|20|0\n2|0|NULL|0|0|0\n");
    // Association and door component share one start time, the time of the event, as does its row.
    for (const char* sql :
         {"SELECT a.timestamp FROM lorivant_event_reaction_office_mode_assoc a JOIN lorivant l "
          "ON l.office_mode_event_timestamp = a.timestamp WHERE l.id = 1",
          "SELECT datetime FROM event_log"}) {
        const std::string time = db_.rows(sql);
        ASSERT_FALSE(time.empty()) << sql;
        EXPECT_GE(std::stoull(time), before);
        EXPECT_LE(std::stoull(time), after);
    }

    // The wrong level changes nothing but is still logged.
    EXPECT_EQ(reactions_to("events/external_io/input", R"({"connector":"input1","signal":"Low","source":0})"),
              lines_t{});
    // Panic mode is never published; a second activation while it is active adds nothing.
    const std::string panic_rows = "SELECT lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, "
                                   "access_group_id FROM lorivant_event_reaction_panic_mode_assoc";
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(reactions_to("events/external_io/input", input2_low), lines_t{});
        EXPECT_EQ(db_.rows(panic_rows), "402|NULL|NULL|NULL\n");
    }
    EXPECT_EQ(office_assoc(), office_401);
    EXPECT_EQ(event_log(), "22|4|0|0\n22|4|0|0\n22|4|0|0\n22|4|0|0\n");
    EXPECT_EQ(log_lines(), lines_t{});
}

TEST_F(ehs_input_handler_test, office_mode_without_door_component_switches_every_door_component) {
    // Called directly, on a handler of its own whose client never connects.
    ehs_input_handler_c handler(std::make_shared<ac_mqtt_client_c>("direct"), db_.registry());
    lorivant_event_reaction_t reaction;
    reaction.id = 403;
    reaction.access_group_id = 7;
    auto office = std::make_shared<lorivant_event_reaction_t::office_mode_t>();
    office->duration = 7200;
    reaction.mode = office; // counts -1: no passage limit
    handler.make_lorivant_reaction(reaction);
    EXPECT_EQ(office_assoc(), "403|NULL|NULL|7|7200|-1\n");
    EXPECT_EQ(office_columns(), "1|1|403|7200|-1|0\n2|1|403|7200|-1|0\n");
}

TEST_F(ehs_input_handler_test, failed_mode_switch_is_rolled_back_and_logged) {
    db_.exec("DROP TABLE lorivant_event_reaction_panic_mode_assoc");
    start();
    EXPECT_EQ(reactions_to("events/external_io/input", input2_low), lines_t{});
    EXPECT_EQ(log_lines(),
              (lines_t{"ERROR [MODEL] in sqlite3_statement_holder_t(): prepare statement failed: SQL "
                       "logic error",
                       "ERROR [EVENTHANDLING] in make_lorivant_reaction(): failed to update panic or "
                       "office mode: db statement failed: SQL logic error"}));
    // The office mode of the next event is stored: the failed transaction is not left open.
    EXPECT_EQ(reactions_to("events/external_io/input", input1_high).size(), 1u);
    EXPECT_EQ(office_assoc(), office_401);
}

} // namespace
