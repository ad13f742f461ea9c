#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace zelvo {

namespace {

/// Restores the language after each test: English.
class Texts : public testing::Test {
protected:
    void TearDown() override
    {
        texts::useLanguage("en");
        for (char const* const name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
            ::unsetenv(name);
    }

    static std::string
    languageOf(char const* language, char const* all, char const* messages, char const* lang)
    {
        std::pair<char const*, char const*> const values[] = {
            {"LANGUAGE", language}, {"LC_ALL", all}, {"LC_MESSAGES", messages}, {"LANG", lang}};
        for (auto const& [name, value] : values)
            value ? ::setenv(name, value, 1) : ::unsetenv(name);
        return texts::languageOfEnvironment();
    }
};

TEST_F(Texts, fillsPlaceholdersAndChoosesPlurals)
{
    texts::useLanguage("en");
    EXPECT_EQ(localized("activity.actions", {std::int64_t(1)}), "1 action");
    EXPECT_EQ(localized("activity.actions", {std::int64_t(5)}), "5 actions");
    EXPECT_EQ(localized("activity.and", {"a {0} 'b'", "c"}), "a {0} 'b' and c");
}

TEST_F(Texts, countsByTheRulesOfTheLanguage)
{
    texts::useLanguage("ru");
    auto const one = localized("activity.actions", {std::int64_t(1)});
    auto const few = localized("activity.actions", {std::int64_t(2)});
    auto const many = localized("activity.actions", {std::int64_t(5)});
    auto const twentyOne = localized("activity.actions", {std::int64_t(21)});

    EXPECT_NE(one.substr(2), few.substr(2));
    EXPECT_NE(few.substr(2), many.substr(2));
    EXPECT_EQ(one.substr(2), twentyOne.substr(3));
}

TEST_F(Texts, givesTheKeyOfATextThatThereIsNot)
{
    EXPECT_EQ(localized("no.such.key"), "no.such.key");
    EXPECT_EQ(localized("no.such.key", {"x"}), "no.such.key");
    EXPECT_EQ(texts::pattern("en", "no.such.key"), "");
}

TEST_F(Texts, changesTheLanguageAndFallsBackToEnglish)
{
    texts::useLanguage("ru");
    auto const russian = localized("window.consent");
    texts::useLanguage("de");
    auto const english = localized("window.consent");

    EXPECT_NE(russian, english);
    EXPECT_EQ(english, texts::pattern("en", "window.consent"));
}

TEST_F(Texts, goesByTheEnvironment)
{
    EXPECT_EQ(languageOf(nullptr, nullptr, nullptr, nullptr), "en");
    EXPECT_EQ(languageOf(nullptr, nullptr, nullptr, "ru_RU.UTF-8"), "ru");
    EXPECT_EQ(languageOf(nullptr, nullptr, "ru_RU@x", "en_US.UTF-8"), "ru");
    EXPECT_EQ(languageOf(nullptr, "C.UTF-8", "ru_RU", "ru_RU"), "en");
    EXPECT_EQ(languageOf("ru", "en_US.UTF-8", nullptr, nullptr), "ru");
    EXPECT_EQ(languageOf("", nullptr, nullptr, "ru"), "ru");
    EXPECT_EQ(languageOf("de:ru:en", nullptr, nullptr, "de_DE.UTF-8"), "ru");
    EXPECT_EQ(languageOf("de", nullptr, nullptr, "de_DE.UTF-8"), "en");
}

TEST_F(Texts, haveTheSameKeysInAllLanguages)
{
    ASSERT_EQ(texts::languages(), (std::vector<std::string>{"en", "ru"}));
    EXPECT_EQ(texts::keys("en"), texts::keys("ru"));
    EXPECT_FALSE(texts::keys("en").empty());
}

} // namespace

} // namespace zelvo
