#pragma once
// hotkey_dao_t over the shared database; each operation prepares its statement per call.
#include "dao/hotkey_dao.h"
#include "db/dao_sqlite3.h"

#include <memory>

class hotkey_dao_sqlite3_t : public hotkey_dao_t {
public:
    explicit hotkey_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database) : database_(std::move(database)) {}

    bool get_hotkey(uint64_t id, hotkey_t& hotkey) override;
    void get_hotkeys(std::vector<hotkey_t>& hotkeys) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
};
