// Feeds arbitrary text to the URL decoder whose result the search filter places between single
// quotes in SQL. The result must equal a decoding done here by hand (%XX with two hex digits
// becomes that byte, everything else stays) with every quote doubled, so no quote can ever end
// the SQL literal early. The text ends at an embedded NUL, as the decoder reads a C string.
#include "utils/ac_url.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string expected_of(const std::string& text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hex_value(text[i + 1]) >= 0 &&
            hex_value(text[i + 2]) >= 0) {
            decoded += static_cast<char>(hex_value(text[i + 1]) * 16 + hex_value(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    std::string quoted;
    for (char c : decoded) {
        quoted += c;
        if (c == '\'') quoted += '\'';
    }
    return quoted;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string raw(reinterpret_cast<const char*>(data), size);
    const std::string text = raw.substr(0, raw.find('\0'));
    const std::string result = ac_url_unescape(raw);
    const std::string expected = expected_of(text);
    if (result != expected) {
        fprintf(stderr, "\"%s\" decodes to %zu bytes, expected %zu\n", text.c_str(), result.size(),
                expected.size());
        abort();
    }
    return 0;
}
