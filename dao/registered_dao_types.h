#pragma once
// DAO types of the controller's other services. The service carries the database layer of the
// whole access-control system and registers them too, but event handling never uses them; they
// have no implementation here, so get_dao<> of them does not compile.
#include "db/dao.h"

class app_user_dao_t : public dao_t {};
class camera_dao_c : public dao_t {};
class ce_rfpower_dao_t : public dao_t {};
class cecommand_dao_t : public dao_t {};
class contact_dao_t : public dao_t {};
class control_devices_dao_c : public dao_t {};
class cwmode_dao_t : public dao_t {};
class db_export_import_dao_t : public dao_t {};
class event_log_dao_acs_t : public dao_t {};
class rf_stamp_dao_c : public dao_t {};
class holiday_dao_t : public dao_t {};
class key_lock_plan_dao_t : public dao_t {};
class schedule_dao_t : public dao_t {};
class scheduled_request_dao_c : public dao_t {};
class transmit_power_dao_t : public dao_t {};
class update_task_dao_t : public dao_t {};
class user_group_dao_t : public dao_t {};
class update_dao_c : public dao_t {};
class vorn_contact_dao_c : public dao_t {};
class alarmsystem_rights_dao_t : public dao_t {};
class cascading_dao_c : public dao_t {};
class slave_dao_c : public dao_t {};
class candidate_dao_c : public dao_t {};
class ipv4_settings_dao_t : public dao_t {};
class dsgvo_dao_c : public dao_t {};
class event_log_cache_dao_c : public dao_t {};
class db_snapshot_dao_t : public dao_t {};
class qr_uuid_dao_c : public dao_t {};
class hashing_dao_c : public dao_t {};
class table_info_dao_c : public dao_t {};
