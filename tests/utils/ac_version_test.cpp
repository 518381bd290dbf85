#include "utils/ac_version.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

// The text of the logic error that `parse` throws, "" when it throws none.
template <typename F>
std::string error_of(F parse) {
    try {
        parse();
    } catch (const std::logic_error& e) {
        return e.what();
    }
    return "";
}

} // namespace

TEST(ac_version_test, sw_versions) {
    struct case_t {
        const char* text;
        std::string error;
        int major, minor, revision; // expected out values; -1 = left untouched (99)
    };
    const case_t cases[] = {
        {"1.2.3", "", 1, 2, 3},
        {"256.0.0", "", 0, 0, 0}, // one above the type's range passes and is stored truncated
        {"255.256.7", "", 255, 0, 7},
        {"257.0.0", "sw version major valus is too large", -1, -1, -1},
        {"1.2", "sw version must consist of three decimal values", -1, -1, -1},
        {"1.2.3.4", "sw version must consist of three decimal values", -1, -1, -1},
        {"1..3", "sw version minor value is empty", 1, -1, -1},
        {"1.2.", "sw version revision value is empty", 1, 2, -1},
        {".2.3", "sw version major value is empty", -1, -1, -1},
        {"a.2.3", "sw version major valus is invalid", -1, -1, -1},
        {"1.2x.3", "sw version minor valus is invalid", 1, -1, -1},
        {"1.2.300", "sw version revision valus is too large", 1, 2, -1},
        {"1.-1.3", "sw version minor valus is too large", 1, -1, -1}, // strtoull wraps the sign
        {"", "sw version must consist of three decimal values", -1, -1, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        uint8_t major = 99, minor = 99, revision = 99;
        EXPECT_EQ(error_of([&] { ac_parse_sw_version(c.text, major, minor, revision); }), c.error);
        EXPECT_EQ(major, c.major < 0 ? 99 : c.major);
        EXPECT_EQ(minor, c.minor < 0 ? 99 : c.minor);
        EXPECT_EQ(revision, c.revision < 0 ? 99 : c.revision);
    }
    uint8_t a = 0, b = 0, c = 0;
    EXPECT_EQ(error_of([&] { ac_parse_sw_version(nullptr, a, b, c); }), "sw version string is empty");
}

TEST(ac_version_test, hw_versions) {
    uint8_t major = 99, minor = 99;
    auto hw_error = [&](const char* text) {
        return error_of([&] { ac_parse_hw_version(text, major, minor); });
    };
    EXPECT_EQ(hw_error("1.x"), "hw version minor valus is invalid");
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 99);
    EXPECT_EQ(hw_error("3.4"), "");
    EXPECT_EQ(major, 3);
    EXPECT_EQ(minor, 4);
    EXPECT_EQ(hw_error("1.2.3"), "hw version must consist of two decimal values");
    EXPECT_EQ(hw_error(".1"), "hw version major value is empty");
    EXPECT_EQ(hw_error("1."), "hw version minor value is empty");
    EXPECT_EQ(hw_error("y.1"), "hw version major valus is invalid");
    EXPECT_EQ(hw_error("257.1"), "hw version major valus is too large");
    EXPECT_EQ(hw_error("1.257"), "hw version minor valus is too large");
    EXPECT_EQ(hw_error(nullptr), "hw version string is empty");
}

TEST(ac_version_test, fw_versions) {
    uint16_t major = 99, minor = 99;
    auto fw_error = [&](const char* text) {
        return error_of([&] { ac_parse_fw_version(text, major, minor); });
    };
    EXPECT_EQ(fw_error("1.2.3"), "");
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 2);
    EXPECT_EQ(fw_error("65536.1"), "");
    EXPECT_EQ(major, 0);
    EXPECT_EQ(minor, 1);
    EXPECT_EQ(fw_error("7"), "fw version must consist of two decimal values, but is: 7");
    // The fw major texts say "value" where the others say "valus".
    EXPECT_EQ(fw_error("x.1"), "fw version major value is invalid");
    EXPECT_EQ(fw_error("65537.1"), "fw version major value is too large");
    EXPECT_EQ(fw_error(".1"), "fw version major value is empty");
    EXPECT_EQ(fw_error("1."), "fw version minor value is empty");
    EXPECT_EQ(fw_error("1.z"), "fw version minor valus is invalid");
    EXPECT_EQ(fw_error("1.65537"), "fw version minor valus is too large");
    EXPECT_EQ(fw_error(nullptr), "fw version string is empty");
}

TEST(ac_version_test, decimal_conversion) {
    uint64_t value = 5;
    EXPECT_EQ(ac_string_to_uint64(nullptr, 10, &value), 4);
    EXPECT_EQ(ac_string_to_uint64("1", 10, nullptr), 4);
    EXPECT_EQ(ac_string_to_uint64("18446744073709551615", 10, &value), 0);
    EXPECT_EQ(value, UINT64_MAX);
    EXPECT_EQ(ac_string_to_uint64(" +12", 10, &value), 0); // strtoull's leading blanks and sign
    EXPECT_EQ(value, 12u);
    EXPECT_EQ(ac_string_to_uint64("ff", 16, &value), 0);
    EXPECT_EQ(value, 255u);
    EXPECT_EQ(ac_string_to_uint64("12a", 10, &value), 1);
    EXPECT_EQ(ac_string_to_uint64("1", 99, &value), 1); // EINVAL for the base
}
