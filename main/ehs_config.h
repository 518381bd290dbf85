#pragma once
// The service's whole configuration: three environment variables, read once at start.
#include <string>

struct ehs_config_t {
    std::string work_dir; // EHS_WORK_DIR, default "."
    std::string db_file;  // ACS_DB_FILE, default "/data/acs.db"

    // Plain concatenation, no separator: the defaults give ./data/acs.db, relative to the
    // current directory, and a deployment that wants an absolute path says so in the variables.
    std::string db_path() const { return work_dir + db_file; }
};

// Reads the work dir and database file (start-up step 1).
ehs_config_t ehs_read_db_config();

// Reads the log file (start-up step 3, after logging is initialised).
std::string ehs_read_log_file();
