#pragma once
// Key/value settings of the controller that the service reads: the default language of the
// texts it looks up and whether the radio devices are supervised.
//
// One object per thread; every operation throws db_exception_t.
#include "db/dao.h"

#include <memory>
#include <string>

class settings_dao_t : public dao_t {
public:
    // settings.value of key 'default_language' when it names a language.code; otherwise (row
    // missing, or a code that is in no language row) throws db_exception_t("empty query", 2).
    virtual std::string get_default_language() = 0;
    // settings 'supervision_mode' is '1' -> true; anything else or absent -> false.
    virtual bool get_supervision_mode() = 0;
};

template <>
struct dao_implementation<settings_dao_t> {
    static std::shared_ptr<settings_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
