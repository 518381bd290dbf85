#pragma once
// settings_dao_t over the shared database; each operation prepares its statement per call.
#include "dao/settings_dao.h"
#include "db/dao_sqlite3.h"

#include <memory>

class settings_dao_sqlite3_t : public settings_dao_t {
public:
    explicit settings_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    std::string get_default_language() override;
    bool get_supervision_mode() override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
};
