#pragma once
// Alarm systems and their arm/disarm state.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class alarmsystem_dao_c : public dao_t {};
