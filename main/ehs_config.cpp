#include "main/ehs_config.h"

#include <cstdlib>

namespace {

std::string env_or(const char* name, const char* fallback) {
    const char* value = getenv(name);
    return value != nullptr ? value : fallback;
}

} // namespace

ehs_config_t ehs_read_db_config() {
    ehs_config_t config;
    config.work_dir = env_or("EHS_WORK_DIR", ".");
    config.db_file = env_or("ACS_DB_FILE", "/data/acs.db");
    return config;
}

std::string ehs_read_log_file() {
    return env_or("EHS_LOG_FILE", "/var/log/ehs.log");
}
