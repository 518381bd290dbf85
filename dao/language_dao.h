#pragma once
// The languages the installation's texts exist in (event sources, event-log messages).
//
// One object per thread; every operation throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct language_t {
    uint64_t id = 0;
    std::string code, name;
};

class language_dao_c : public dao_t {
public:
    // False, `language` untouched, when no language has this code.
    virtual bool get_language_by_code(const std::string& code, language_t& language) = 0;
    // Appends every language, by id.
    virtual void get_languages(std::vector<language_t>& languages) = 0;
};

template <>
struct dao_implementation<language_dao_c> {
    static std::shared_ptr<language_dao_c> create(std::shared_ptr<dao_sqlite3_c> database);
};
