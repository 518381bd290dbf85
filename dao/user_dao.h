#pragma once
// Users of the access-control system.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class user_dao_t : public dao_t {};
