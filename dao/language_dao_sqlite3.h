#pragma once
// language_dao_c over the shared database; each operation prepares its statement per call.
#include "dao/language_dao.h"
#include "db/dao_sqlite3.h"

#include <memory>

class language_dao_sqlite3_c : public language_dao_c {
public:
    explicit language_dao_sqlite3_c(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_language_by_code(const std::string& code, language_t& language) override;
    void get_languages(std::vector<language_t>& languages) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
};
