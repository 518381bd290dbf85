#pragma once
// Base of every data access object (DAO). Callers reach a DAO by its interface type through the
// registry (db/dao_registry.h) and never see the SQLite class behind it.
#include <memory>

class dao_sqlite3_c;

class dao_t {
public:
    virtual ~dao_t() = default;
};

// Maps a DAO interface to its SQLite implementation without the registry knowing any DAO. The
// interface header specialises it and the implementation's .cpp defines create(), so callers of
// get_dao<T>() need neither the implementation header nor <sqlite3.h>:
//
//   template <>
//   struct dao_implementation<event_log_dao_t> {
//       static std::shared_ptr<event_log_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
//   };
//
// An interface without an implementation has no specialisation, so get_dao<> of it fails to compile.
template <typename T>
struct dao_implementation;
