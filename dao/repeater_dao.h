#pragma once
// Repeaters: identity and supervision state.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class repeater_dao_c : public dao_t {};
