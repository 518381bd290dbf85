#pragma once
// Parsers for the dotted version texts of the controller's devices. Each component is written
// to its out parameter as soon as it has passed its checks; any failure throws std::logic_error
// with a fixed text (the texts are matched by other services, "valus" included).
#include <cstdint>

// "major.minor.revision", exactly three pieces, each at most 256 (256 is stored as 0).
void ac_parse_sw_version(const char* text, uint8_t& major, uint8_t& minor, uint8_t& revision);

// "major.minor", exactly two pieces, each at most 256 (256 is stored as 0).
void ac_parse_hw_version(const char* text, uint8_t& major, uint8_t& minor);

// "major.minor[.anything]", at least two pieces, each at most 65536 (65536 is stored as 0).
void ac_parse_fw_version(const char* text, uint16_t& major, uint16_t& minor);

// strtoull over the whole text: 0 on success, 1 when the text is not entirely a number,
// 4 (bad parameter) for a null text or out pointer. Leading blanks and a sign are accepted,
// as strtoull accepts them.
int ac_string_to_uint64(const char* text, int base, uint64_t* out);
