#pragma once
// Camera reactions: which camera takes a snapshot or a video for an event.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class camera_event_reaction_dao_t : public dao_t {};
