#include "dao/settings_dao.h"
#include "db/db_exception.h"
#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

namespace {

TEST(settings_dao_test, default_language_must_name_a_language) {
    test_database_c db;
    auto settings = db.dao<settings_dao_t>();
    EXPECT_EQ(settings->get_default_language(), "en");
    db.exec("UPDATE settings SET value='de' WHERE key='default_language'");
    EXPECT_EQ(settings->get_default_language(), "de");

    for (const char* sql : {"UPDATE settings SET value='fr' WHERE key='default_language'",
                            "DELETE FROM settings WHERE key='default_language'"}) {
        SCOPED_TRACE(sql);
        db.exec(sql);
        try {
            settings->get_default_language();
            FAIL() << "no default language accepted";
        } catch (const db_exception_t& e) {
            EXPECT_STREQ(e.what(), "empty query");
            EXPECT_EQ(e.code, 2);
        }
    }
}

TEST(settings_dao_test, supervision_mode_is_on_only_for_1) {
    test_database_c db;
    auto settings = db.dao<settings_dao_t>();
    const std::pair<std::string, bool> cases[] = {
        {"'1'", true}, {"'0'", false}, {"'on'", false}, {"1", true}, {"NULL", false}};
    for (const auto& [value, on] : cases) {
        SCOPED_TRACE(value);
        db.exec("UPDATE settings SET value=" + value + " WHERE key='supervision_mode'");
        EXPECT_EQ(settings->get_supervision_mode(), on);
    }
    db.exec("UPDATE settings SET value='1' WHERE key='supervision_mode'");
    db.exec("DELETE FROM settings WHERE key='supervision_mode'");
    EXPECT_FALSE(settings->get_supervision_mode());
}

TEST(language_dao_test, languages_by_code_and_all) {
    test_database_c db;
    auto languages = db.dao<language_dao_c>();
    language_t language;
    ASSERT_TRUE(languages->get_language_by_code("de", language));
    EXPECT_EQ(text(language), "2|de|Deutsch");
    EXPECT_FALSE(languages->get_language_by_code("fr", language));
    EXPECT_EQ(language.code, "de");

    std::vector<language_t> all;
    languages->get_languages(all);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].code + all[1].code, "ende");
}

TEST(hotkey_dao_test, hotkeys_of_the_demo) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto hotkeys = db.dao<hotkey_dao_t>();
    hotkey_t hotkey;
    ASSERT_TRUE(hotkeys->get_hotkey(2, hotkey));
    EXPECT_EQ(text(hotkey), "2|Staff office mode");
    EXPECT_FALSE(hotkeys->get_hotkey(3, hotkey));
    EXPECT_EQ(hotkey.id, 2u);

    std::vector<hotkey_t> all;
    hotkeys->get_hotkeys(all);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].name, "Open gate");
}

} // namespace
