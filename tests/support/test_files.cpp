#include "tests/support/test_files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

temp_dir_c::temp_dir_c() {
    const char* base = getenv("TMPDIR");
    path_ = std::string(base != nullptr ? base : "/tmp") + "/ehs_test_XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp failed for " + path_);
}

temp_dir_c::~temp_dir_c() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string read_file(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void write_file(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

bool file_exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}
