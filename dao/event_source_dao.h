#pragma once
// The catalogue of event source kinds and the associated event sources of configured events.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class event_source_dao_t : public dao_t {};
