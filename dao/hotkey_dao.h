#pragma once
// Hotkeys of the REST interface; pressing one triggers the events configured with its id.
//
// One object per thread; every operation throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct hotkey_t {
    uint64_t id = 0;
    std::string name;
};

class hotkey_dao_t : public dao_t {
public:
    // False, `hotkey` untouched, when there is no such hotkey.
    virtual bool get_hotkey(uint64_t id, hotkey_t& hotkey) = 0;
    // Appends every hotkey, by id.
    virtual void get_hotkeys(std::vector<hotkey_t>& hotkeys) = 0;
};

template <>
struct dao_implementation<hotkey_dao_t> {
    static std::shared_ptr<hotkey_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
