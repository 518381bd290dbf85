// The broker killed with SIGKILL in the middle of a stream of events and started again: the
// daemon must survive, subscribe everything again by itself and handle every event after the
// restart. What the broker held at the moment of the kill is gone with it (QoS 0); that loss is
// counted but belongs to the broker.
#include "tests/faults/event_stream.h"
#include "tests/faults/fault_fixture.h"

#include <csignal>
#include <thread>

namespace {

using namespace std::chrono_literals;

using ehs_broker_fault_test = ehs_fault_test_c;

constexpr uint64_t time_diff_message = 56;
constexpr uint64_t alarm_message = 40;

TEST_F(ehs_broker_fault_test, a_broker_killed_during_a_stream_of_events_costs_no_event_after_its_restart) {
    const long kills = count_from_env("EHS_FAULT_BROKER_KILLS", 2);
    const long after_restart = 50;
    ASSERT_NO_FATAL_FAILURE(start_serving());
    long stream_published = 0, stream_logged = 0;
    for (long kill = 1; kill <= kills; ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        const long logged_before = event_log_rows(time_diff_message);
        {
            event_stream_c stream(1883, {{"events/ntp/time_diff", "{\"rtc_time\":1,\"ntp_time\":2}"}});
            // Kill while events are flowing through the daemon, not before the first one.
            ASSERT_TRUE(
                wait_until([&] { return event_log_rows(time_diff_message) > logged_before + 100; }, 10s));
            peer_.reset();
            broker_->stop(SIGKILL);
            stream.stop();
            stream_published += stream.published_total();
        }
        std::this_thread::sleep_for(500ms); // the daemon finds the broker gone and starts reconnecting
        ASSERT_TRUE(daemon_->running());
        broker_->start();
        connect_peer();
        ASSERT_NO_FATAL_FAILURE(wait_until_subscribed()); // every subscription is back
        stream_logged += event_log_rows(time_diff_message) - logged_before;

        const long alarms_before = event_log_rows(alarm_message);
        for (long i = 0; i < after_restart; ++i)
            send("events/alarmsystem/alarm", "{\"alarmsystem_id\":1}");
        std::vector<std::string> commands = settle();
        EXPECT_EQ(commands.size(), static_cast<size_t>(2 * after_restart)); // camera video, siren
        EXPECT_EQ(event_log_rows(alarm_message) - alarms_before, after_restart);
    }
    EXPECT_TRUE(daemon_->running());
    EXPECT_EQ(log_count("failed to write event log"), 0) << log();
    report("broker killed (SIGKILL) during a stream of events, then restarted",
           "stream of time-correction events, kill, restart, then " + std::to_string(after_restart) +
               " alarms",
           kills,
           "after restarts: 0 events; at the kills: " + std::to_string(stream_published - stream_logged) +
               " of " + std::to_string(stream_published) +
               " streamed events, in the killed broker or on their way to it (QoS 0)");
}

} // namespace
