#include "utils/ac_url.h"

#include <curl/curl.h>

#include <memory>
#include <stdexcept>

std::string ac_url_unescape(const std::string& text) {
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl) throw std::runtime_error("failed to init url coder system");
    int length = 0;
    std::unique_ptr<char, decltype(&curl_free)> decoded(
        curl_easy_unescape(curl.get(), text.c_str(), 0, &length), curl_free);
    if (!decoded) return "";
    std::string result(decoded.get(), static_cast<size_t>(length));
    // Doubling makes the text a safe SQL string literal; step over the inserted quote so each
    // original quote is doubled exactly once.
    for (size_t at = result.find('\''); at != std::string::npos; at = result.find('\'', at + 2))
        result.insert(at, 1, '\'');
    return result;
}
