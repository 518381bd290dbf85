#include "db/dao_registry.h"

#include <filesystem>
#include <stdexcept>

namespace {

// The mangled name, as the platform's type_info gives it; some ABIs mark it with a leading '*'.
std::string type_name(std::type_index type) {
    const char* name = type.name();
    return name[0] == '*' ? name + 1 : name;
}

} // namespace

dao_registry_c& dao_registry_c::instance() {
    static dao_registry_c registry;
    return registry;
}

dao_registry_c::~dao_registry_c() {
    for (auto& entry : databases_)
        entry.database->close();
}

uint32_t dao_registry_c::add_database(const std::string& name, const std::string& path,
                                      const std::vector<std::string>& pragmas, db_update_hook_t update_hook,
                                      db_rollback_hook_t rollback_hook, db_commit_hook_t commit_hook,
                                      bool load_extension) {
    auto database = std::make_shared<dao_sqlite3_c>(update_hook, rollback_hook, commit_hook);
    for (const auto& pragma : pragmas)
        database->add_pragma(pragma);
    // Installations without the extension library must still start.
    std::error_code error;
    database->open_database(path, load_extension &&
                                      std::filesystem::exists(dao_sqlite3_c::sha_extension_path, error));
    databases_.push_back({name, path, pragmas, database, update_hook, rollback_hook, commit_hook});
    return static_cast<uint32_t>(databases_.size() - 1);
}

void dao_registry_c::register_type(std::type_index type, uint32_t database_index) {
    auto known = dao_database_index_.find(type);
    if (known != dao_database_index_.end())
        throw std::runtime_error("dao type with type index '" + type_name(type) + "'" +
                                 " is already registered against database index " +
                                 std::to_string(known->second));
    if (database_index >= databases_.size())
        throw std::runtime_error("trying to register dao against non-registered database with index " +
                                 std::to_string(database_index));
    dao_database_index_.emplace(type, database_index);
}

uint32_t dao_registry_c::get_database_index(std::type_index type) const {
    auto known = dao_database_index_.find(type);
    if (known == dao_database_index_.end())
        throw std::runtime_error("dao type " + type_name(type) + " hasn't been registered");
    return known->second;
}
