// The supervision beside the event thread while another process of the controller holds the
// database's write lock: the supervision retries its "BEGIN IMMEDIATE", and between two attempts
// the event thread's reads must get their turn, so a door event is answered at once.
#include "tests/eventhandling/handler_test_fixture.h"

#include <chrono>
#include <cstdio>

namespace {

TEST_F(ehs_handler_test_c, a_door_event_is_answered_while_the_supervision_waits_for_the_write_lock) {
    start();
    const std::string unknown = "events/end_device/tag_unknown",
                      tag = R"({"hardware_id":1001002,"tag_id":"04A1"})";
    const lines_t unlocked = reactions_to(unknown, tag);
    ASSERT_FALSE(unlocked.empty());

    // Both door components silent for long; each would keep the turn for 20 s of retries.
    db_.exec("UPDATE lorivant SET supervision_time=1, supervision_missing=0; BEGIN IMMEDIATE");
    ehs_supervision_handler_c supervision(client_, db_.registry(), {400, 2});
    std::thread check([&] { supervision.check_supervision(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the check is retrying by now

    const auto sent = std::chrono::steady_clock::now();
    peer_.publish(unknown, tag);
    const auto locked = peer_.try_settle(std::chrono::seconds(5));
    const auto waited = std::chrono::steady_clock::now() - sent;
    db_.exec("ROLLBACK");
    check.join();

    ASSERT_TRUE(locked.has_value()) << "no reaction while the supervision waited for the lock";
    EXPECT_EQ(*locked, unlocked);
    EXPECT_EQ(db_.rows("SELECT id, supervision_missing FROM lorivant ORDER BY id"), "1|1\n2|1\n");
    printf("reliability: worst read delay while the supervision waited for the lock: %lld ms\n",
           static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(waited).count()));
}

} // namespace
