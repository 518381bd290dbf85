// Feeds arbitrary text to the three version parsers and to the decimal conversion under them.
// A parser may only fail with std::logic_error and one of its fixed texts (other services match
// them); what it accepts must read back the same from its own printed form. The conversion is
// checked against plain digit arithmetic wherever the text is nothing but a short run of digits.
// The first byte picks the conversion's base, so odd bases (0, 1, 37) are tried as well.
#include "utils/ac_result.h"
#include "utils/ac_version.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>

namespace {

[[noreturn]] void finding(const std::string& what, const std::string& input) {
    fprintf(stderr, "%s (input \"%s\")\n", what.c_str(), input.c_str());
    abort();
}

// The texts each parser may throw. The invalid and too-large texts spell "valus", except those
// of the fw major value; other services match them letter for letter.
std::set<std::string> fixed_texts_of(const std::string& kind) {
    std::set<std::string> own;
    if (kind == "sw") own.insert("sw version must consist of three decimal values");
    if (kind == "hw") own.insert("hw version must consist of two decimal values");
    const bool sw = kind == "sw";
    for (const char* part : {"major", "minor", "revision"}) {
        if (!sw && std::string(part) == "revision") continue;
        const std::string prefix = kind + " version " + part;
        const std::string noun = kind == "fw" && std::string(part) == "major" ? " value" : " valus";
        own.insert(prefix + " value is empty");
        own.insert(prefix + noun + " is invalid");
        own.insert(prefix + noun + " is too large");
    }
    return own;
}

void require_fixed_text(const std::logic_error& e, const std::string& kind, const std::string& text) {
    static const std::set<std::string> sw = fixed_texts_of("sw"), hw = fixed_texts_of("hw"),
                                       fw = fixed_texts_of("fw");
    const std::set<std::string>& allowed = kind == "sw" ? sw : kind == "hw" ? hw : fw;
    const std::string what = e.what();
    if (kind == "fw" && what == "fw version must consist of two decimal values, but is: " + text) return;
    if (allowed.count(what) == 0) finding(kind + " parser threw an unexpected text: " + what, text);
}

void check_sw(const std::string& text) {
    uint8_t major = 0, minor = 0, revision = 0;
    try {
        ac_parse_sw_version(text.c_str(), major, minor, revision);
    } catch (const std::logic_error& e) {
        require_fixed_text(e, "sw", text);
        return;
    }
    const std::string printed =
        std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision);
    uint8_t again[3] = {};
    ac_parse_sw_version(printed.c_str(), again[0], again[1], again[2]);
    if (again[0] != major || again[1] != minor || again[2] != revision)
        finding("sw does not read back", text);
}

void check_hw(const std::string& text) {
    uint8_t major = 0, minor = 0;
    try {
        ac_parse_hw_version(text.c_str(), major, minor);
    } catch (const std::logic_error& e) {
        require_fixed_text(e, "hw", text);
        return;
    }
    const std::string printed = std::to_string(major) + "." + std::to_string(minor);
    uint8_t again[2] = {};
    ac_parse_hw_version(printed.c_str(), again[0], again[1]);
    if (again[0] != major || again[1] != minor) finding("hw does not read back", text);
}

void check_fw(const std::string& text) {
    uint16_t major = 0, minor = 0;
    try {
        ac_parse_fw_version(text.c_str(), major, minor);
    } catch (const std::logic_error& e) {
        require_fixed_text(e, "fw", text);
        return;
    }
    const std::string printed = std::to_string(major) + "." + std::to_string(minor);
    uint16_t again[2] = {};
    ac_parse_fw_version(printed.c_str(), again[0], again[1]);
    if (again[0] != major || again[1] != minor) finding("fw does not read back", text);
}

// Up to 19 decimal digits always fit in 64 bits, so the expected value is plain arithmetic.
void check_conversion(const std::string& text, int base) {
    uint64_t value = 0;
    const int result = ac_string_to_uint64(text.c_str(), base, &value);
    if (result != AC_RESULT_SUCCESS && result != AC_RESULT_FAIL) finding("unexpected result code", text);
    if (ac_string_to_uint64(nullptr, base, &value) != AC_RESULT_BAD_PARAMETER ||
        ac_string_to_uint64(text.c_str(), base, nullptr) != AC_RESULT_BAD_PARAMETER)
        finding("a null argument is not refused", text);
    if (base != 10 || text.empty() || text.size() > 19) return;
    uint64_t expected = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return;
        expected = expected * 10 + static_cast<uint64_t>(c - '0');
    }
    uint64_t decimal = 0;
    if (ac_string_to_uint64(text.c_str(), 10, &decimal) != AC_RESULT_SUCCESS || decimal != expected)
        finding("digits convert to " + std::to_string(decimal) + ", not " + std::to_string(expected), text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    // Base 0 (prefix decides), 2..36, and the invalid 1 and 37 that strtoull refuses.
    const int base = data[0] % 38;
    // The parsers take C strings: everything after an embedded NUL is not part of the text.
    const std::string raw(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string text = raw.substr(0, raw.find('\0'));
    check_sw(text);
    check_hw(text);
    check_fw(text);
    check_conversion(text, base);
    check_conversion(text, 10);
    return 0;
}
