#include "db/db_exception.h"

#include <sqlite3.h>

db_exception_t make_db_exception(const std::string& prefix, int sqlite_result, int32_t code) {
    return db_exception_t(prefix + sqlite3_errstr(sqlite_result), code);
}
