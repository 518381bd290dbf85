#include "db/db_exception.h"

#include <sqlite3.h>

db_exception_t make_db_exception(const std::string& prefix, int sqlite_result, int32_t code) {
    db_exception_t exception(prefix + sqlite3_errstr(sqlite_result), code);
    exception.file_damaged = db_result_means_damage(sqlite_result);
    return exception;
}

bool db_result_means_damage(int sqlite_result) {
    return (sqlite_result & 0xff) == SQLITE_CORRUPT;
}
