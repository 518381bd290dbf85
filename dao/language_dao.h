#pragma once
// The languages the installation's texts exist in.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class language_dao_c : public dao_t {};
