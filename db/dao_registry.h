#pragma once
// The process's databases and the database each DAO type belongs to. Callers ask for a DAO by
// its interface type and get a fresh SQLite implementation sharing the database's connection.
//
// Filled once at start-up (databases first, then DAO types) and only read afterwards, so it has
// no lock. Misuse of the registration throws std::runtime_error; opening throws db_exception_t.
#include "db/dao.h"
#include "db/dao_sqlite3.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

struct database_entry_t {
    std::string name;
    std::string path;
    std::vector<std::string> pragmas;
    std::shared_ptr<dao_sqlite3_c> database;
    db_update_hook_t update_hook = nullptr;
    db_rollback_hook_t rollback_hook = nullptr;
    db_commit_hook_t commit_hook = nullptr;
};

class dao_registry_c {
public:
    // The service's registry; tests build their own.
    static dao_registry_c& instance();

    dao_registry_c() = default;
    ~dao_registry_c(); // closes every database, in registration order
    dao_registry_c(const dao_registry_c&) = delete;
    dao_registry_c& operator=(const dao_registry_c&) = delete;

    // Opens the database (dao_sqlite3_c::open_database) and returns its index, its position in
    // registration order. The SHA extension is loaded only when asked for and present on disk.
    uint32_t add_database(const std::string& name, const std::string& path,
                          const std::vector<std::string>& pragmas, db_update_hook_t update_hook,
                          db_rollback_hook_t rollback_hook, db_commit_hook_t commit_hook,
                          bool load_extension);

    template <typename T>
    void register_dao(uint32_t database_index) {
        register_type(typeid(T), database_index);
    }

    uint32_t get_database_index(std::type_index type) const;

    // A new object on every call: DAOs are cheap and belong to the thread that asked.
    template <typename T>
    std::shared_ptr<T> get_dao() const {
        return dao_implementation<T>::create(databases_[get_database_index(typeid(T))].database);
    }

    size_t dao_type_count() const { return dao_database_index_.size(); }

private:
    void register_type(std::type_index type, uint32_t database_index);

    std::vector<database_entry_t> databases_;
    std::map<std::type_index, uint32_t> dao_database_index_;
};
