#pragma once
// Hotkeys of the REST interface that trigger events.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class hotkey_dao_t : public dao_t {};
