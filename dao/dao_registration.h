#pragma once
// Registers every DAO type of the access-control system (47, most unused by event handling)
// against one database. Throws std::runtime_error when a type is already registered or the
// database index is unknown.
//
// The SQL texts of the DAOs are part of what the controller's other processes receive: the
// change broadcast (db/cas_broadcast_hook_helper.h) sends the expanded text of every statement
// that changed a row, verbatim. Their spelling and spacing, odd runs of blanks included, stay
// as they are unless the readers on the other side change with them.
#include "db/dao_registry.h"

#include <cstdint>

void register_all_dao_types(dao_registry_c& registry, uint32_t database_index);
