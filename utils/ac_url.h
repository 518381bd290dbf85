#pragma once
// URL decoding for text that the search filter places between single quotes in SQL. Lives in
// its own library (ehs_utils_url) because it is the only user of libcurl: the daemon does not
// link it and so does not pay for libcurl's resident pages.
#include <string>

// Decodes %XX sequences, then doubles every single quote ("it%27s" -> "it''s"). Throws
// std::runtime_error("failed to init url coder system") when curl gives no handle.
std::string ac_url_unescape(const std::string& text);
