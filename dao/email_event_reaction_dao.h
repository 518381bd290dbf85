#pragma once
// E-mail reactions and the contacts they go to.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class email_event_reaction_dao_t : public dao_t {};
