#pragma once
// Door-component reactions (office and panic mode) and their running mode associations.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class lorivant_event_reaction_dao_t : public dao_t {};
