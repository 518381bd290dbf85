#pragma once
// Registers every DAO type of the access-control system (47, most unused by event handling)
// against one database. Throws std::runtime_error when a type is already registered or the
// database index is unknown.
#include "db/dao_registry.h"

#include <cstdint>

void register_all_dao_types(dao_registry_c& registry, uint32_t database_index);
