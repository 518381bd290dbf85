#pragma once
// The benchmark's databases: built from sql/schema.sql and the benchmark's installation
// (bench_config.sql, and bench_scale.sql for the installation that has lived for years), and
// counted through a connection of their own. Failures throw std::runtime_error.
#include <cstdint>
#include <string>

void bench_build_database(const std::string& db_path, bool scale);
// The first column of the first row of `sql`, 0 when there is none.
uint64_t bench_count(const std::string& db_path, const char* sql = "SELECT count(*) FROM event_log");
