#include "db/dao_registry.h"

#include "db/db_exception.h"
#include "db/transaction_dao.h"
#include "tests/support/test_database.h"
#include "tests/support/test_expect.h"

#include <gtest/gtest.h>

namespace {

// Misuse of the registration, each with its text; DAOs come fresh but share the connection,
// which the registry closes when it goes (the SHA extension is asked for but not installed).
TEST(dao_registry_test, misuse_is_named_and_daos_share_the_database_it_closes) {
    test_database_c db;
    auto registry = std::make_unique<dao_registry_c>();
    const std::string name = typeid(transaction_dao_t).name();
    EXPECT_EQ(thrown<std::runtime_error>([&] { registry->register_dao<transaction_dao_t>(0); }),
              "trying to register dao against non-registered database with index 0");
    EXPECT_EQ(thrown<std::runtime_error>([&] { registry->get_dao<transaction_dao_t>(); }),
              "dao type " + name + " hasn't been registered");
    EXPECT_EQ(registry->add_database("a", db.path(), {"foreign_keys=ON"}, nullptr, nullptr, nullptr, true),
              0u);
    EXPECT_EQ(registry->add_database("b", db.path(), {}, nullptr, nullptr, nullptr, false), 1u);
    EXPECT_EQ(thrown<std::runtime_error>([&] { registry->register_dao<transaction_dao_t>(2); }),
              "trying to register dao against non-registered database with index 2");
    registry->register_dao<transaction_dao_t>(1);
    for (uint32_t index : {0u, 1u})
        EXPECT_EQ(thrown<std::runtime_error>([&] { registry->register_dao<transaction_dao_t>(index); }),
                  "dao type with type index '" + name + "' is already registered against database index 1");
    EXPECT_EQ(registry->get_database_index(typeid(transaction_dao_t)), 1u);
    EXPECT_EQ(registry->dao_type_count(), 1u);

    auto first = registry->get_dao<transaction_dao_t>(), second = registry->get_dao<transaction_dao_t>();
    EXPECT_NE(first, second);
    first->begin_transaction(0);
    EXPECT_FALSE(second->begin_read_transaction()); // the same connection: its transaction is open
    first->commit_transaction(0);
    registry.reset();
    EXPECT_EQ(thrown<db_exception_t>([&] { first->begin_transaction(0); }),
              "invalid state: db isnt open yet");
}

} // namespace
