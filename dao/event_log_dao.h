#pragma once
// The event log: one row per handled event, numbered per controller.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class event_log_dao_t : public dao_t {};
