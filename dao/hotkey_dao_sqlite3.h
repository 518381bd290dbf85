#pragma once
// hotkey_dao_t over the shared database. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/hotkey_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class hotkey_dao_sqlite3_t : public hotkey_dao_t {
public:
    explicit hotkey_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database) : database_(std::move(database)) {}

    bool get_hotkey(uint64_t id, hotkey_t& hotkey) override;
    void get_hotkeys(std::vector<hotkey_t>& hotkeys) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
