#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(ac_result_test, every_code_has_its_own_name_and_every_other_value_is_unknown) {
    const std::pair<int, const char*> cases[] = {{AC_RESULT_SUCCESS, "success"},
                                                 {1, "fail"},
                                                 {4, "bad parameter"},
                                                 {23, "response has less data than expected"},
                                                 {35, "last instance"},
                                                 {36, "unknown"},
                                                 {-1, "unknown"}};
    for (const auto& [code, name] : cases)
        EXPECT_STREQ(ac_result_name(code), name) << code;
    std::set<std::string> names;
    for (int code = 0; code <= AC_RESULT_LAST_INSTANCE; ++code)
        names.insert(ac_result_name(code));
    EXPECT_EQ(names.size(), 36u);
    EXPECT_EQ(names.count("unknown"), 0u);
}
