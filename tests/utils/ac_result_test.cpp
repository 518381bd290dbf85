#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(ac_result_test, names_at_the_ends_of_the_table_and_outside_it) {
    EXPECT_STREQ(ac_result_name(AC_RESULT_SUCCESS), "success");
    EXPECT_STREQ(ac_result_name(1), "fail");
    EXPECT_STREQ(ac_result_name(4), "bad parameter");
    EXPECT_STREQ(ac_result_name(23), "response has less data than expected");
    EXPECT_STREQ(ac_result_name(35), "last instance");
    EXPECT_STREQ(ac_result_name(36), "unknown");
    EXPECT_STREQ(ac_result_name(-1), "unknown");
}

TEST(ac_result_test, every_code_has_its_own_name) {
    std::set<std::string> names;
    for (int code = 0; code <= AC_RESULT_LAST_INSTANCE; ++code)
        names.insert(ac_result_name(code));
    EXPECT_EQ(names.size(), 36u);
    EXPECT_EQ(names.count("unknown"), 0u);
}
