#pragma once
// External input and output connectors and their applications.
// The operations arrive with the SQLite implementation.
#include "db/dao.h"

class connector_dao_c : public dao_t {};
