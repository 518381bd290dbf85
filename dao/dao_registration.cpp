#include "dao/dao_registration.h"

#include "dao/access_group_dao.h"
#include "dao/alarmsystem_dao.h"
#include "dao/camera_event_reaction_dao.h"
#include "dao/connector_dao.h"
#include "dao/email_event_reaction_dao.h"
#include "dao/event_dao.h"
#include "dao/event_log_dao.h"
#include "dao/event_source_dao.h"
#include "dao/hotkey_dao.h"
#include "dao/language_dao.h"
#include "dao/lorivant_dao.h"
#include "dao/lorivant_event_reaction_dao.h"
#include "dao/output_event_reaction_dao.h"
#include "dao/registered_dao_types.h"
#include "dao/repeater_dao.h"
#include "dao/settings_dao.h"
#include "dao/user_dao.h"
#include "db/transaction_dao.h"

void register_all_dao_types(dao_registry_c& registry, uint32_t database_index) {
    // The order of the access-control system's own list, kept so that the two are easy to compare.
    registry.register_dao<access_group_dao_t>(database_index);
    registry.register_dao<alarmsystem_dao_c>(database_index);
    registry.register_dao<app_user_dao_t>(database_index);
    registry.register_dao<camera_dao_c>(database_index);
    registry.register_dao<camera_event_reaction_dao_t>(database_index);
    registry.register_dao<ce_rfpower_dao_t>(database_index);
    registry.register_dao<cecommand_dao_t>(database_index);
    registry.register_dao<connector_dao_c>(database_index);
    registry.register_dao<contact_dao_t>(database_index);
    registry.register_dao<control_devices_dao_c>(database_index);
    registry.register_dao<cwmode_dao_t>(database_index);
    registry.register_dao<db_export_import_dao_t>(database_index);
    registry.register_dao<email_event_reaction_dao_t>(database_index);
    registry.register_dao<event_dao_t>(database_index);
    registry.register_dao<event_log_dao_t>(database_index);
    registry.register_dao<event_log_dao_acs_t>(database_index);
    registry.register_dao<event_source_dao_t>(database_index);
    registry.register_dao<rf_stamp_dao_c>(database_index);
    registry.register_dao<holiday_dao_t>(database_index);
    registry.register_dao<hotkey_dao_t>(database_index);
    registry.register_dao<key_lock_plan_dao_t>(database_index);
    registry.register_dao<output_event_reaction_dao_t>(database_index);
    registry.register_dao<repeater_dao_c>(database_index);
    registry.register_dao<schedule_dao_t>(database_index);
    registry.register_dao<scheduled_request_dao_c>(database_index);
    registry.register_dao<settings_dao_t>(database_index);
    registry.register_dao<transaction_dao_t>(database_index);
    registry.register_dao<transmit_power_dao_t>(database_index);
    registry.register_dao<update_task_dao_t>(database_index);
    registry.register_dao<user_dao_t>(database_index);
    registry.register_dao<user_group_dao_t>(database_index);
    registry.register_dao<lorivant_dao_c>(database_index);
    registry.register_dao<lorivant_event_reaction_dao_t>(database_index);
    registry.register_dao<update_dao_c>(database_index);
    registry.register_dao<vorn_contact_dao_c>(database_index);
    registry.register_dao<alarmsystem_rights_dao_t>(database_index);
    registry.register_dao<cascading_dao_c>(database_index);
    registry.register_dao<slave_dao_c>(database_index);
    registry.register_dao<candidate_dao_c>(database_index);
    registry.register_dao<ipv4_settings_dao_t>(database_index);
    registry.register_dao<dsgvo_dao_c>(database_index);
    registry.register_dao<event_log_cache_dao_c>(database_index);
    registry.register_dao<db_snapshot_dao_t>(database_index);
    registry.register_dao<qr_uuid_dao_c>(database_index);
    registry.register_dao<hashing_dao_c>(database_index);
    registry.register_dao<table_info_dao_c>(database_index);
    registry.register_dao<language_dao_c>(database_index);
}
