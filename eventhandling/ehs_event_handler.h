#pragma once
// Shared machinery of every event handler: the event-log row in its own immediate transaction,
// the lookup of the reactions configured for an event source, and their publication.
//
// Runs on the MQTT network thread, one message at a time; the DAOs are this handler's own.
// Nothing here throws a database failure at the caller: it is rolled back, logged at ERROR and
// the handler goes on with its next step.
#include "dao/event_dao.h"
#include "dao/event_log_dao.h"
#include "dao/event_source_dao.h"
#include "dao/lorivant_dao.h"
#include "dao/repeater_dao.h"
#include "dao/settings_dao.h"
#include "db/dao_registry.h"
#include "db/db_exception.h"
#include "db/transaction_dao.h"
#include "eventhandling/ehs_busy_retries.h"
#include "eventhandling/ehs_event_record.h"
#include "messages/msg_event_base.h"
#include "mqtt/ac_mqtt_client.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct mosquitto_message;

class ehs_event_handler_c {
public:
    ehs_event_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                        ehs_busy_retries_t retries);
    virtual ~ehs_event_handler_c() = default;
    ehs_event_handler_c(const ehs_event_handler_c&) = delete; // callbacks hold `this`
    ehs_event_handler_c& operator=(const ehs_event_handler_c&) = delete;

    // One event_log row stamped now, inside "BEGIN IMMEDIATE" and "COMMIT" with the busy retries.
    // `lorivant_id` and `camera_id` are 0 when the event names none.
    void write_event_log_with_transaction(uint64_t message_id, uint64_t event_log_group_id,
                                          uint64_t lorivant_id, uint64_t camera_id);

    // Appends every configured event of `event_source_id` (language-independent id), each with
    // its source read in the default language and its reactions. A database failure ends the
    // lookup; what was filled until then stays in `records`.
    void find_event_reactions(uint64_t event_source_id, std::vector<ehs_event_record_t>& records);

    void publish_reactions(const ehs_event_record_t& record, const std::shared_ptr<msg_event_base_c>& message,
                           const ehs_event_origin_t& origin);

protected:
    // The payload as a NUL-terminated text (MQTT payloads are not terminated) deserialized into
    // `message`, which also learns the topic. False after the deserializer's log line.
    static bool deserialize(const mosquitto_message* incoming, msg_event_base_c& message);

    // The door component with this hardware id and the repeater with this serial number; a
    // failed lookup leaves 0, so only events configured for every device react.
    uint64_t lorivant_id_of(uint64_t hardware_id);
    uint64_t repeater_id_of(uint64_t serial_number);

    std::shared_ptr<ac_mqtt_client_c> client_;
    const ehs_busy_retries_t retries_;
    std::shared_ptr<transaction_dao_t> transactions_;
    std::shared_ptr<event_log_dao_t> event_log_;
    std::shared_ptr<event_dao_t> events_;
    std::shared_ptr<event_source_dao_t> event_sources_;
    std::shared_ptr<settings_dao_t> settings_;
    std::shared_ptr<camera_event_reaction_dao_t> camera_reactions_;
    std::shared_ptr<output_event_reaction_dao_t> output_reactions_;
    std::shared_ptr<email_event_reaction_dao_t> email_reactions_;
    std::shared_ptr<lorivant_event_reaction_dao_t> lorivant_reactions_;
    std::shared_ptr<lorivant_dao_c> lorivants_;
    std::shared_ptr<repeater_dao_c> repeaters_;

private:
    // Reads the record's source and reactions; false when the default language cannot be had,
    // which ends the whole lookup. Other failures throw db_exception_t.
    bool complete_record(ehs_event_record_t& record);
    // The lookup in one read transaction; false when it ended because the file is damaged.
    bool look_up_reactions(uint64_t event_source_id, std::vector<ehs_event_record_t>& records);
    static bool damaged(const std::exception& e);
};
