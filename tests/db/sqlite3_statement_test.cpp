#include "db/sqlite3_statement.h"

#include "db/dao_sqlite3.h"
#include "tests/db/db_test_util.h"
#include "tests/support/test_files.h"

#include <gtest/gtest.h>

namespace {

class sqlite3_statement_test : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = dir_.file("acs.db");
        raw_connection_c(path_).exec("CREATE TABLE parent(id INTEGER PRIMARY KEY, name TEXT UNIQUE);"
                                     "CREATE TABLE child(parent_id INTEGER REFERENCES parent(id));"
                                     "CREATE TABLE value(u64, i32, b, u8, s, tag, arr, u16, u32)");
        db_.add_pragma("foreign_keys=ON");
        db_.open(path_, false);
    }

    temp_dir_c dir_;
    std::string path_;
    dao_sqlite3_c db_;
};

TEST_F(sqlite3_statement_test, every_type_binds_and_reads_back) {
    const uint8_t uid[] = {0x04, 0xa1, 0xff};
    std::array<uint8_t, 16> key{};
    for (size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<uint8_t>(0xf0 + i);
    auto insert = prepare(db_, "INSERT INTO value VALUES(?,?,?,?,?,?,?,?,?)");
    insert.reset();
    insert.bind(1, UINT64_MAX, INT32_MIN, true, uint8_t{255},
                std::string("gr\xc3\xbc\xc3\x9f"
                            "e\0cut",
                            10),
                ac_tag_uid_t(uid, 3), key, uint16_t{65535}, uint32_t{4294967295u});
    EXPECT_EQ(insert.execute(), db_done);
    EXPECT_EQ(rows(db_.get_handle(), "SELECT u64, i32, b, u8, s, hex(tag), length(arr), u16, u32 FROM value"),
              "-1|-2147483648|1|255|gr\xc3\xbc\xc3\x9f"
              "e|04A1FF|16|65535|4294967295\n");

    auto select = prepare(db_, "SELECT * FROM value");
    ASSERT_EQ(select.execute(), db_row);
    int calls = 0;
    select.fetch_part_row<uint64_t, int32_t, bool, uint8_t, std::string, ac_tag_uid_t,
                          std::array<uint8_t, 16>, uint64_t, uint64_t>(
        0, [&](uint64_t u64, int32_t i32, bool b, uint8_t u8, const std::string& s, const ac_tag_uid_t& tag,
               const std::array<uint8_t, 16>& arr, uint64_t u16, uint64_t u32) {
            ++calls;
            EXPECT_EQ(u64, UINT64_MAX);
            EXPECT_EQ(i32, INT32_MIN);
            EXPECT_TRUE(b);
            EXPECT_EQ(u8, 255);
            EXPECT_EQ(s, "gr\xc3\xbc\xc3\x9f"
                         "e");
            EXPECT_EQ(tag, ac_tag_uid_t(uid, 3));
            EXPECT_EQ(arr, key);
            EXPECT_EQ(u16, 65535u);
            EXPECT_EQ(u32, 4294967295u);
        });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(select.execute(), db_done);
}

TEST_F(sqlite3_statement_test, odd_values_read_by_the_documented_rules) {
    auto select =
        prepare(db_, "SELECT 'skipped', NULL, NULL, X'0102030405060708090A0B', X'0102030405060708090A', "
                     "X'0102030405060708090A0B0C0D0E0F1011', X'0102', 300, 2");
    ASSERT_EQ(select.execute(), db_row);
    std::function<void(std::string, ac_tag_uid_t, ac_tag_uid_t, ac_tag_uid_t, std::array<uint8_t, 16>,
                       std::array<uint8_t, 16>, uint8_t, bool)>
        check = [](std::string null_text, ac_tag_uid_t null_tag, ac_tag_uid_t eleven, ac_tag_uid_t ten,
                   std::array<uint8_t, 16> seventeen, std::array<uint8_t, 16> two, uint8_t u8, bool b) {
            EXPECT_EQ(null_text, "");
            EXPECT_TRUE(null_tag.empty());
            EXPECT_TRUE(eleven.empty());
            EXPECT_EQ(ten.length(), 10u);
            EXPECT_EQ(ten.data()[9], 0x0a);
            EXPECT_EQ(seventeen, (std::array<uint8_t, 16>{}));
            EXPECT_EQ(two, (std::array<uint8_t, 16>{1, 2}));
            EXPECT_EQ(u8, 44);
            EXPECT_TRUE(b);
        };
    select.fetch_part_row<std::string, ac_tag_uid_t, ac_tag_uid_t, ac_tag_uid_t, std::array<uint8_t, 16>,
                          std::array<uint8_t, 16>, uint8_t, bool>(1, check);
}

TEST_F(sqlite3_statement_test, bind_failures_name_the_index_and_carry_sqlites_code) {
    auto select = prepare(db_, "SELECT ?, ?");
    EXPECT_EQ(failure([&] { select.bind(3, 1); }), "failed to bind col(3)->column index out of range|25");
    EXPECT_EQ(failure([&] { select.bind(1, "a", "b", "c"); }),
              "failed to bind col(3)->column index out of range|25");
    ASSERT_EQ(select.execute(), db_row); // the values before the failure stay bound
    select.fetch_part_row<std::string, std::string>(
        0, [](std::string a, std::string b) { EXPECT_EQ(a + b, "ab"); });

    select.reset(); // also clears the bindings
    ASSERT_EQ(select.execute(), db_row);
    select.fetch_part_row<std::string, uint64_t>(
        0, [](std::string a, uint64_t b) { EXPECT_EQ(a + std::to_string(b), "0"); });
}

TEST_F(sqlite3_statement_test, prepare_failures_throw_code_4_and_a_locked_step_6) {
    EXPECT_EQ(failure([&] { prepare(db_, "SELEC 1"); }), "db statement failed: SQL logic error|4");
    {
        raw_connection_c other(path_);
        other.exec("BEGIN IMMEDIATE");
        auto insert = prepare(db_, "INSERT INTO parent VALUES(1, 'door')");
        EXPECT_EQ(failure([&] { insert.execute(); }), "db statement failed: database is locked|6");
    }
    db_.close();
    EXPECT_EQ(failure([&] { prepare(db_, "SELECT 1"); }), "invalid state: db isnt open yet|0");
}

TEST_F(sqlite3_statement_test, constraint_violations_throw_code_5) {
    exec(db_.get_handle(), "INSERT INTO parent VALUES(1, 'door')");
    for (const char* sql : {"INSERT INTO parent VALUES(2, 'door')", "INSERT INTO child VALUES(9)"}) {
        SCOPED_TRACE(sql);
        auto insert = prepare(db_, sql);
        EXPECT_EQ(failure([&] { insert.execute(); }), "db statement failed: constraint failed|5");
        // SQLite's reset reports the failed step once more.
        EXPECT_EQ(failure([&] { insert.reset(); }), "failed to reset statement->constraint failed|19");
    }
    EXPECT_EQ(rows(db_.get_handle(), "SELECT count(*) FROM child"), "0\n");
}

} // namespace
