#include "utils/ac_version.h"

#include "utils/ac_result.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct component_texts_t {
    const char* empty;
    const char* invalid;
    const char* too_large;
};

// Empty pieces are kept ("1..2" has three pieces, "1.2." too) so that they are reported as
// empty components rather than silently skipped.
std::vector<std::string> split_at_points(const char* text) {
    std::vector<std::string> pieces(1);
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c == '.')
            pieces.emplace_back();
        else
            pieces.back() += *c;
    }
    return pieces;
}

uint64_t checked_component(const std::string& piece, uint64_t limit, const component_texts_t& texts) {
    if (piece.empty()) throw std::logic_error(texts.empty);
    uint64_t value = 0;
    if (ac_string_to_uint64(piece.c_str(), 10, &value) != AC_RESULT_SUCCESS)
        throw std::logic_error(texts.invalid);
    if (value > limit) throw std::logic_error(texts.too_large);
    return value;
}

// One above what the component type holds; the store below truncates it to 0. Other services
// compare versions parsed exactly this way, so both the limit and the truncation stay.
constexpr uint64_t limit_8bit = 256;
constexpr uint64_t limit_16bit = 65536;

} // namespace

int ac_string_to_uint64(const char* text, int base, uint64_t* out) {
    if (text == nullptr || out == nullptr) return AC_RESULT_BAD_PARAMETER;
    char* end = nullptr;
    errno = 0;
    *out = strtoull(text, &end, base);
    if (*out == 0 && errno == EINVAL) return AC_RESULT_FAIL;
    if (end == nullptr || *end != '\0') return AC_RESULT_FAIL;
    return AC_RESULT_SUCCESS;
}

void ac_parse_sw_version(const char* text, uint8_t& major, uint8_t& minor, uint8_t& revision) {
    if (text == nullptr) throw std::logic_error("sw version string is empty");
    auto pieces = split_at_points(text);
    if (pieces.size() != 3) throw std::logic_error("sw version must consist of three decimal values");
    major = static_cast<uint8_t>(
        checked_component(pieces[0], limit_8bit,
                          {"sw version major value is empty", "sw version major valus is invalid",
                           "sw version major valus is too large"}));
    minor = static_cast<uint8_t>(
        checked_component(pieces[1], limit_8bit,
                          {"sw version minor value is empty", "sw version minor valus is invalid",
                           "sw version minor valus is too large"}));
    revision = static_cast<uint8_t>(
        checked_component(pieces[2], limit_8bit,
                          {"sw version revision value is empty", "sw version revision valus is invalid",
                           "sw version revision valus is too large"}));
}

void ac_parse_hw_version(const char* text, uint8_t& major, uint8_t& minor) {
    if (text == nullptr) throw std::logic_error("hw version string is empty");
    auto pieces = split_at_points(text);
    if (pieces.size() != 2) throw std::logic_error("hw version must consist of two decimal values");
    major = static_cast<uint8_t>(
        checked_component(pieces[0], limit_8bit,
                          {"hw version major value is empty", "hw version major valus is invalid",
                           "hw version major valus is too large"}));
    minor = static_cast<uint8_t>(
        checked_component(pieces[1], limit_8bit,
                          {"hw version minor value is empty", "hw version minor valus is invalid",
                           "hw version minor valus is too large"}));
}

void ac_parse_fw_version(const char* text, uint16_t& major, uint16_t& minor) {
    if (text == nullptr) throw std::logic_error("fw version string is empty");
    auto pieces = split_at_points(text);
    if (pieces.size() < 2)
        throw std::logic_error(std::string("fw version must consist of two decimal values, but is: ") + text);
    major = static_cast<uint16_t>(
        checked_component(pieces[0], limit_16bit,
                          {"fw version major value is empty", "fw version major value is invalid",
                           "fw version major value is too large"}));
    minor = static_cast<uint16_t>(
        checked_component(pieces[1], limit_16bit,
                          {"fw version minor value is empty", "fw version minor valus is invalid",
                           "fw version minor valus is too large"}));
}
