#pragma once
// Process-wide map from an event topic to an empty message of the topic's class and the
// deserializer that fills it. The e-mail reaction request uses it to read the event it embeds.
// Built once on first use; afterwards only read, so create() may be called from any thread.
#include "messages/ac_json_deserializer.h"
#include "messages/msg_event_base.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class msg_event_factory_c {
public:
    // Both empty for a topic without a message class. The deserializer refers to the message,
    // so it must not outlive it.
    struct product_t {
        std::shared_ptr<msg_event_base_c> message;
        std::shared_ptr<ac_json_deserializer_c> deserializer;
    };

    static const msg_event_factory_c& instance();

    // Exact, case-sensitive topic match.
    product_t create(const std::string& topic) const;

    // The known topics in the order they were registered.
    const std::vector<std::string>& topics() const { return topics_; }

    msg_event_factory_c(const msg_event_factory_c&) = delete;
    msg_event_factory_c& operator=(const msg_event_factory_c&) = delete;

private:
    using creator_t = std::function<product_t()>;

    msg_event_factory_c();
    void add(const std::string& topic, creator_t creator);

    std::map<std::string, creator_t> creators_;
    std::vector<std::string> topics_;
};
