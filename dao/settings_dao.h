#pragma once
// Key/value settings of the controller (default language, supervision mode).
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class settings_dao_t : public dao_t {};
