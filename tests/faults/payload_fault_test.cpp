// Hostile and broken payloads on every topic the daemon subscribes: a flood of malformed ones,
// payloads of a mebibyte, and text that would do harm if it ever reached SQL or a printf format.
// The daemon must refuse each bad payload with one log line, stay up with flat memory, pass
// hostile text on as plain data, and handle the next good event.
#include "tests/faults/fault_fixture.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>

namespace {

using namespace std::chrono_literals;

using ehs_payload_fault_test = ehs_fault_test_c;

// Every topic the daemon subscribes. The last four write their event-log row whatever the
// payload says; all others deserialize first and drop what does not read.
const std::vector<std::string> topics = [] {
    std::istringstream all(
        "events/end_device/battery_warning events/end_device/battery_count_warning "
        "events/end_device/access_granted events/end_device/access_denied events/end_device/tag_unknown "
        "events/alarmsystem/armed events/alarmsystem/disarmed events/alarmsystem/alarm "
        "events/alarmsystem/alarm_resolved events/external_io/input events/end_device/signal_loss "
        "events/repeater/signal_loss events/repeater/tamper events/repeater/tamper_resolved "
        "events/repeater/power_loss events/repeater/power_back events/control/tamper "
        "events/control/tamper_resolved events/control/internet_lost events/rest_api/hotkey "
        "events/camera/video events/camera/snapshot alarmsystem/error_disarming_no_ack "
        "alarmsystem/error_arming_no_ack alarmsystem/error_arming_not_ready events/ntp/time_diff");
    return std::vector<std::string>(std::istream_iterator<std::string>(all), {});
}();
const size_t topic_count = topics.size(), deserializing_topics = topic_count - 4;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers' allocators hold freed memory back on purpose (ASan's quarantine): the daemon's
// memory says nothing about the daemon then.
constexpr bool memory_is_measured = false;
#else
constexpr bool memory_is_measured = true;
#endif

const std::string& topic_of(long i) {
    return topics[static_cast<size_t>(i) % topic_count];
}
bool writes_whatever_the_payload(long i) {
    return static_cast<size_t>(i) % topic_count >= deserializing_topics;
}

// Payloads that no message class accepts: broken JSON, wrong types, unknown keys, numbers out
// of range, bad escapes and encodings, embedded NULs, deep nesting; every fourth is noise.
std::string malformed_payload(long i) {
    static const std::vector<std::string> broken = {"",
                                                    " \t\r\n",
                                                    "{",
                                                    "}",
                                                    "[]",
                                                    "[{\"hardware_id\":1}]",
                                                    "null",
                                                    "true",
                                                    "17",
                                                    "\"text\"",
                                                    "{\"hardware_id\":-1}",
                                                    "{\"hardware_id\":1.5}",
                                                    "{\"hardware_id\":\"1\"}",
                                                    "{\"alarmsystem_id\":18446744073709551616}",
                                                    "{\"hotkey_id\":1e400}",
                                                    "{\"tag_id\":\"\\uD800\"}",
                                                    "{\"tag_id\":\"\\q\"}",
                                                    "{\"unknown\":1}",
                                                    "{\"\":1}",
                                                    "{\"%s%n%x\":1}",
                                                    "{\"\x80\":1}",
                                                    "{\"hardware_id\":1,}",
                                                    "{\"hardware_id\" 1}",
                                                    "{\"hardware_id\":1} trailing",
                                                    "\xff\xfe{}",
                                                    std::string("{\"hardware_id\":1\0}", 18),
                                                    std::string(2000, '['),
                                                    std::string(2000, '{'),
                                                    "{\"connector\":{}}",
                                                    "{\"hardware_id\":[1]}",
                                                    "{\"signal\":true}",
                                                    "{\"camera_id\":null}"};
    if (i % 4 != 3) return broken[static_cast<size_t>(i / 4) % broken.size()];
    std::mt19937 random(static_cast<unsigned>(i));
    std::string noise(1 + random() % 300, '\0');
    for (auto& c : noise)
        c = static_cast<char>(random() % 256);
    // A JSON text can only be an object when it starts with one, after blanks.
    if (noise[0] == '{' || noise[0] == ' ' || noise[0] == '\t' || noise[0] == '\r' || noise[0] == '\n')
        noise[0] = 'x';
    return noise;
}

// Empty payloads on the camera topics are passed over without a log line.
bool refusal_is_logged(const std::string& topic, const std::string& payload) {
    return !(payload.empty() && topic.rfind("events/camera/", 0) == 0);
}

std::string json_string(const std::string& text) {
    return "\"" + text + "\""; // the texts below hold no quote, backslash or control character
}

// The payloads of the deserializing topics first, interleaved across them, then those of the
// log-only topics, so that each half's memory can be judged on its own: refused payloads must
// cost nothing, while written rows grow SQLite's page cache up to its limit.
TEST_F(ehs_payload_fault_test, a_flood_of_malformed_payloads_on_every_topic_is_refused_with_flat_memory) {
    const long flood = count_from_env("EHS_FAULT_FLOOD", 10000);
    ASSERT_NO_FATAL_FAILURE(start_serving());
    std::vector<long> refused, written;
    for (long i = 0; i < flood; ++i)
        (writes_whatever_the_payload(i) ? written : refused).push_back(i);
    long refusals_logged = 0;
    long rss_start = 0, rss_peak = 0;
    auto flood_with = [&](const std::vector<long>& payloads) {
        for (size_t n = 0; n < payloads.size(); ++n) {
            const std::string topic = topic_of(payloads[n]);
            const std::string payload = malformed_payload(payloads[n]);
            send(topic, payload);
            if (!writes_whatever_the_payload(payloads[n]) && refusal_is_logged(topic, payload))
                ++refusals_logged;
            if ((n + 1) % 1000 != 0 && n + 1 != payloads.size()) continue;
            settle(); // the daemon keeps up: nothing piles up in the broker
            const long rss = daemon_rss_kib();
            // The first thousand fill the caches and the log buffer; memory counts from there.
            if (rss_start == 0) rss_start = rss;
            rss_peak = std::max(rss_peak, rss);
        }
        return daemon_rss_kib();
    };
    const long rss_refused = flood_with(refused);
    const long rss_end = flood_with(written);

    send("events/alarmsystem/alarm", "{\"alarmsystem_id\":1}");
    EXPECT_EQ(settle().size(), 2u);
    EXPECT_EQ(event_log_rows(40), 1);
    EXPECT_EQ(event_log_rows(), static_cast<long>(written.size()) + 1);
    EXPECT_EQ(log_count(" ERROR [REST] in deserialize(): deserialize msg "), refusals_logged);
    EXPECT_TRUE(daemon_->running());
    if (memory_is_measured) {
        // Refusals: flat but for allocator noise.
        EXPECT_LE(rss_refused - rss_start, 512)
            << "KiB after the first thousand: " << rss_start << ", after the refusals: " << rss_refused;
        // Rows: the page cache fills with the new pages of the event log, up to its 2000 KiB.
        EXPECT_LE(rss_end - rss_refused, 2000 + 512)
            << "KiB after the refusals: " << rss_refused << ", after the rows: " << rss_end;
    }
    report("flood of malformed payloads across all " + std::to_string(topic_count) + " subscribed topics",
           std::to_string(flood) + " payloads (" + std::to_string(refusals_logged) +
               " refused with a log line, " + std::to_string(written.size()) +
               " on log-only topics written), then a valid alarm",
           1,
           "0; RSS KiB " + std::to_string(rss_start) + " after 1000, " + std::to_string(rss_refused) +
               " after the refusals, " + std::to_string(rss_end) + " after the rows (page cache), peak " +
               std::to_string(rss_peak));
}

TEST_F(ehs_payload_fault_test, a_one_mebibyte_payload_is_handled_or_refused_and_the_next_event_goes_through) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    const size_t mebibyte = 1 << 20;
    const std::string head = "{\"hardware_id\":1001001,\"tag_id\":\"";
    const std::string tag(mebibyte - head.size() - 2, 'A');
    // Valid: the unknown tag is e-mailed, a mebibyte of tag id included.
    send("events/end_device/tag_unknown", head + tag + "\"}");
    std::vector<std::string> commands = settle(30s);
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_NE(commands[0].find("\"tag_id\":\"" + tag + "\"}"), std::string::npos);

    std::mt19937 random(1);
    std::string noise(mebibyte, '\0');
    for (auto& c : noise)
        c = static_cast<char>(random() % 256);
    noise[0] = 'x';
    send("events/alarmsystem/alarm", std::string(mebibyte, '['));
    send("events/control/tamper", noise);
    send("events/alarmsystem/armed", "{\"alarmsystem_id\":1" + std::string(mebibyte - 19, ' '));
    send("events/ntp/time_diff", noise); // written whatever it says
    EXPECT_EQ(settle(30s), std::vector<std::string>{});
    EXPECT_EQ(log_count(" ERROR [REST] in deserialize(): deserialize msg "), 3);

    send("events/alarmsystem/alarm", "{\"alarmsystem_id\":1}");
    EXPECT_EQ(settle().size(), 2u);
    EXPECT_EQ(db_.rows("SELECT message_id FROM event_log ORDER BY id"), "56\n40\n");
    EXPECT_TRUE(daemon_->running());
    report("1 MiB payloads",
           "one valid (its e-mail carries the 1 MiB tag id), three malformed, one on a log-only topic "
           "(written), then an alarm",
           1, "0");
}

TEST_F(ehs_payload_fault_test, sql_and_printf_directives_in_payloads_stay_plain_data) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    const std::string tables = db_.rows("SELECT name FROM sqlite_master ORDER BY name");
    const std::string hostile[] = {"'; DROP TABLE event_log; --", "%s%n%x%p%n", "%99999999s%n%n",
                                   "' OR 1=1; DELETE FROM event; --", "%s'); DROP TABLE lorivant; --"};
    for (const auto& text : hostile) {
        SCOPED_TRACE(text);
        // Into the e-mail of an unknown tag, as the tag id.
        send("events/end_device/tag_unknown",
             "{\"hardware_id\":1001001,\"tag_id\":" + json_string(text) + "}");
        // As the input's connector and level: logged as "input changed", matches nothing.
        send("events/external_io/input",
             "{\"connector\":" + json_string(text) + ",\"signal\":" + json_string(text) + ",\"source\":1}");
        // As a hotkey's name: hotkey 1 opens the gate.
        send("events/rest_api/hotkey", "{\"hotkey_id\":1,\"hotkey_name\":" + json_string(text) + "}");
        // As a key: refused, and the log line quotes it.
        send("events/alarmsystem/alarm", "{" + json_string(text) + ":1}");
        EXPECT_EQ(
            settle(),
            (std::vector<std::string>{
                "event_reactions/email {\"event_source_topic\":\"events/end_device/tag_unknown\","
                "\"event_source_msg\":{\"hardware_id\":1001001,\"tag_id\":" +
                    json_string(text) + "},\"recipients\":[\"security@example.com\"]}",
                "event_reactions/external_io/output "
                "{\"connector\":\"output2\",\"signal\":\"Open Timed\",\"delay_start\":2,\"duration\":5}"}));
        EXPECT_EQ(
            log_count(" ERROR [REST] in deserialize(): deserialize msg event_alarmid failed: integer is "
                      "wrong data type for attribute: " +
                      text + "\n"),
            1);
    }
    EXPECT_EQ(db_.rows("SELECT name FROM sqlite_master ORDER BY name"), tables);
    EXPECT_EQ(event_log_rows(22), static_cast<long>(std::size(hostile)));
    EXPECT_EQ(db_.rows("SELECT count(*) FROM event"), "16\n");
    EXPECT_EQ(db_.rows("SELECT count(*) FROM lorivant"), "2\n");
    EXPECT_EQ(integrity_check(), "ok");
    EXPECT_TRUE(daemon_->running());
    report("SQL and printf directives in payloads",
           std::to_string(std::size(hostile)) +
               " texts (e.g. \"'; DROP TABLE event_log; --\", \"%s%n\") as tag id, connector, level, hotkey "
               "name and key",
           1, "0; passed on and logged verbatim, tables untouched");
}

} // namespace
