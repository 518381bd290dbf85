#include "db/transaction_dao.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

// The schema is what every DAO and handler test stands on: it must open through the wrapper
// with the service's pragmas and carry the event log's sequence row from the start.
TEST(schema_registration_test, schema_opens_with_the_service_pragmas_and_seeds_the_sequence) {
    test_database_c db;
    EXPECT_EQ(db.registry().dao_type_count(), 47u);
    EXPECT_EQ(db.rows("SELECT name, seq FROM sqlite_sequence WHERE name='event_log'"), "event_log|0\n");
    auto tx = db.dao<transaction_dao_t>();
    tx->begin_transaction(5);
    tx->commit_transaction(5);
}
