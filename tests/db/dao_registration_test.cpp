#include "dao/dao_registration.h"

#include "dao/language_dao.h"
#include "db/transaction_dao.h"
#include "tests/support/test_files.h"

#include <gtest/gtest.h>

TEST(dao_registration_test, registers_all_47_types_against_the_given_database) {
    temp_dir_c dir;
    const std::string script = dir.file("demo.sql");
    write_file(script, "CREATE TABLE t(id);");
    dao_registry_c registry;
    registry.add_database("first", script, {}, nullptr, nullptr, nullptr, false);
    registry.add_database("acs_db", script, {}, nullptr, nullptr, nullptr, false);
    register_all_dao_types(registry, 1);
    EXPECT_EQ(registry.dao_type_count(), 47u); // a type listed twice would have thrown
    EXPECT_EQ(registry.get_database_index(typeid(language_dao_c)), 1u);
    EXPECT_NE(registry.get_dao<transaction_dao_t>(), nullptr);
    try {
        register_all_dao_types(registry, 0);
        FAIL();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(),
                     "dao type with type index '18access_group_dao_t' is already registered against "
                     "database index 1");
    }
}
