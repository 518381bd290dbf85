// Feeds arbitrary topics to the MQTT client's dispatch, over the subscription table the service
// builds plus filters taken from the input. The input is lines: the first is the incoming topic,
// the others are filters registered after the service's own (repeats included, to exercise the
// rule that the first registration keeps its callback). Exactly one callback, the one the
// client's documented rule picks, may run; none when nothing matches. The rule is restated here
// from its description, not from the code: exact topic first; else, of the filters holding a
// '#', the smallest in byte order whose bytes before the first '#' begin the topic.
// No broker is involved: without init() the client never calls libmosquitto.
#include "mqtt/ac_mqtt_client.h"

#include <mosquitto.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// The topics the service's handlers register, in their order.
const char* const service_topics[] = {
    "events/end_device/battery_warning",
    "events/end_device/battery_count_warning",
    "events/end_device/access_granted",
    "events/end_device/access_denied",
    "events/end_device/tag_unknown",
    "events/alarmsystem/armed",
    "events/alarmsystem/disarmed",
    "events/alarmsystem/alarm",
    "events/alarmsystem/alarm_resolved",
    "events/external_io/input",
    "events/end_device/signal_loss",
    "events/repeater/signal_loss",
    "events/repeater/tamper",
    "events/repeater/tamper_resolved",
    "events/repeater/power_loss",
    "events/repeater/power_back",
    "events/control/tamper",
    "events/control/tamper_resolved",
    "events/control/internet_lost",
    "events/rest_api/hotkey",
    "events/camera/video",
    "events/camera/snapshot",
    "alarmsystem/error_disarming_no_ack",
    "alarmsystem/error_arming_no_ack",
    "alarmsystem/error_arming_not_ready",
    "events/ntp/time_diff",
};

constexpr size_t max_extra_filters = 16;

std::vector<std::string> lines_of(const uint8_t* data, size_t size) {
    std::vector<std::string> lines(1);
    for (size_t i = 0; i < size; ++i) {
        // libmosquitto hands over C strings: neither a topic nor a filter can hold a NUL.
        if (data[i] == '\0') continue;
        if (data[i] == '\n')
            lines.emplace_back();
        else
            lines.back() += static_cast<char>(data[i]);
    }
    return lines;
}

bool hash_filter_matches(const std::string& filter, const std::string& topic) {
    const size_t hash = filter.find('#');
    if (hash == std::string::npos) return false;
    // Bytes of the topic past its end compare as its terminating NUL, which no filter holds.
    return topic.size() >= hash && topic.compare(0, hash, filter, 0, hash) == 0;
}

// Index (in registration order) of the callback that must run, or -1.
int expected_callback(const std::vector<std::string>& registered, const std::string& topic) {
    auto first_registration = [&](const std::string& filter) {
        return static_cast<int>(std::find(registered.begin(), registered.end(), filter) - registered.begin());
    };
    if (std::find(registered.begin(), registered.end(), topic) != registered.end())
        return first_registration(topic);
    std::vector<std::string> matching;
    for (const auto& filter : registered)
        if (hash_filter_matches(filter, topic)) matching.push_back(filter);
    if (matching.empty()) return -1;
    return first_registration(*std::min_element(matching.begin(), matching.end()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::string> lines = lines_of(data, size);
    std::string topic = lines[0];
    std::vector<std::string> registered(std::begin(service_topics), std::end(service_topics));
    for (size_t i = 1; i < lines.size() && i <= max_extra_filters; ++i)
        registered.push_back(lines[i]);

    ac_mqtt_client_c client("fuzz");
    std::vector<int> called;
    for (size_t i = 0; i < registered.size(); ++i)
        client.register_topic(
            registered[i], [&called, i](const mosquitto_message*) { called.push_back(static_cast<int>(i)); });

    mosquitto_message message{};
    message.topic = &topic[0];
    message.payload = &topic[0];
    message.payloadlen = static_cast<int>(topic.size());
    client.on_message(&message);

    const int expected = expected_callback(registered, topic);
    const bool right = expected < 0 ? called.empty() : called == std::vector<int>{expected};
    if (!right) {
        fprintf(stderr, "topic \"%s\": %zu callbacks ran (first %d), expected callback %d\n", topic.c_str(),
                called.size(), called.empty() ? -1 : called[0], expected);
        abort();
    }
    return 0;
}
