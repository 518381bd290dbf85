#pragma once
// Output reactions: which external output switches, how and for how long.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class output_event_reaction_dao_t : public dao_t {};
