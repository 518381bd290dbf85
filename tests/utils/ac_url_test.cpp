#include "utils/ac_url.h"

#include <gtest/gtest.h>

TEST(ac_url_test, decodes_and_doubles_single_quotes_once) {
    struct case_t {
        const char* input;
        const char* expected;
    };
    const case_t cases[] = {
        {"it%27s", "it''s"}, {"a%20b%2Fc", "a b/c"},
        {"''", "''''"},      {"%27%27x'", "''''x''"},
        {"plain", "plain"},  {"", ""},
        {"100%", "100%"},    {"name%3D%27x%27%3B%20DROP", "name=''x''; DROP"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(ac_url_unescape(c.input), c.expected);
    }
}
