#pragma once
// Access groups of users.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class access_group_dao_t : public dao_t {};
