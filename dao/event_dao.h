#pragma once
// Configured events with their reactions, and the global tamper settings.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class event_dao_t : public dao_t {};
