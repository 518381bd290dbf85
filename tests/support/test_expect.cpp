#include "tests/support/test_expect.h"

#include "tests/support/test_files.h"

#include <sstream>

lines_t log_lines(const std::string& log_path) {
    std::vector<std::string> lines;
    if (!file_exists(log_path)) return lines;
    std::istringstream text(read_file(log_path));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line.substr(line.find(' ', line.find(' ') + 1) + 1));
    return lines;
}

std::string log_text(const std::string& log_path) {
    std::string text;
    for (const auto& line : log_lines(log_path))
        text += line + "\n";
    return text;
}
