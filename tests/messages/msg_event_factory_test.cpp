#include "messages/msg_event_factory.h"

#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_end_device_battery_count_warning.h"
#include "messages/msg_event_end_device_battery_warning.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_internet_lost.h"
#include "messages/msg_event_io_input.h"
#include "messages/msg_event_name.h"
#include "messages/msg_event_ntp_time_diff.h"
#include "messages/msg_event_repeater_tamper.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

namespace {

struct mapping_t {
    const char* topic;
    const std::type_info& message;
    const std::type_info& deserializer;
};

TEST(msg_event_factory_test, seventeen_topics_in_registration_order_map_to_their_classes_and_no_other) {
    const std::type_info &hwid = typeid(msg_event_hwid_c), &by_hwid = typeid(msg_event_hwid_deserializer_c),
                         &tag = typeid(msg_event_hwid_tagid_c),
                         &by_tag = typeid(msg_event_hwid_tagid_deserializer_c);
    const mapping_t mappings[] = {
        {"events/alarmsystem/armed", typeid(msg_event_alarm_armed_c),
         typeid(msg_event_alarm_armed_deserializer_c)},
        {"events/alarmsystem/disarmed", typeid(msg_event_alarm_armed_c),
         typeid(msg_event_alarm_armed_deserializer_c)},
        {"events/alarmsystem/alarm", typeid(msg_event_alarmid_c), typeid(msg_event_alarmid_deserializer_c)},
        {"events/end_device/battery_warning", typeid(msg_event_end_device_battery_warning_c), by_hwid},
        {"events/end_device/battery_count_warning", typeid(msg_event_end_device_battery_count_warning_c),
         by_hwid},
        {"events/end_device/signal_loss", hwid, by_hwid},
        {"events/end_device/access_granted", tag, by_tag},
        {"events/end_device/access_denied", tag, by_tag},
        {"events/end_device/tag_unknown", tag, by_tag},
        {"events/repeater/signal_loss", hwid, by_hwid},
        {"events/repeater/tamper", typeid(msg_event_repeater_tamper_c), by_hwid},
        {"events/repeater/power_loss", hwid, by_hwid},
        {"events/repeater/power_back", hwid, by_hwid},
        {"events/external_io/input", typeid(msg_event_io_input_c), typeid(msg_event_io_input_deserializer_c)},
        {"events/rest_api/hotkey", typeid(msg_event_name_c), typeid(msg_event_name_deserializer_c)},
        {"events/control/internet_lost", typeid(msg_event_internet_lost_c), by_hwid},
        {"events/ntp/time_diff", typeid(msg_event_ntp_time_diff_c),
         typeid(msg_event_ntp_time_diff_deserializer_c)},
    };
    const msg_event_factory_c& factory = msg_event_factory_c::instance();
    std::vector<std::string> topics;
    for (const mapping_t& m : mappings) {
        SCOPED_TRACE(m.topic);
        topics.push_back(m.topic);
        msg_event_factory_c::product_t product = factory.create(m.topic);
        ASSERT_TRUE(product.message && product.deserializer);
        EXPECT_EQ(typeid(*product.message), m.message);
        EXPECT_EQ(typeid(*product.deserializer), m.deserializer);
        // Every call makes a new pair; a message is never shared between two requests.
        EXPECT_NE(factory.create(m.topic).message, product.message);
    }
    EXPECT_EQ(factory.topics(), topics);

    // Topics without a class, or not matching exactly, give empty pointers.
    for (const char* topic :
         {"events/end_device/access_granted/", "Events/end_device/access_granted",
          "events/END_DEVICE/access_granted", " events/ntp/time_diff", "", "events/", "events/control/tamper",
          "events/control/tamper_resolved", "events/repeater/tamper_resolved",
          "events/alarmsystem/alarm_resolved", "events/camera/video", "events/camera/snapshot"}) {
        SCOPED_TRACE(topic);
        msg_event_factory_c::product_t product = factory.create(topic);
        EXPECT_EQ(product.message, nullptr);
        EXPECT_EQ(product.deserializer, nullptr);
    }
}

} // namespace
