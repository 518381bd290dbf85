#pragma once
// Scratch directories and file helpers for tests.
#include <string>

// A fresh directory under $TMPDIR (or /tmp), removed with everything in it on destruction.
class temp_dir_c {
public:
    temp_dir_c();
    ~temp_dir_c();
    temp_dir_c(const temp_dir_c&) = delete;
    temp_dir_c& operator=(const temp_dir_c&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& text);
bool file_exists(const std::string& path);
