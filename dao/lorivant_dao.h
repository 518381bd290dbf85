#pragma once
// Door components: identity, supervision state and office/panic mode columns.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class lorivant_dao_c : public dao_t {};
