#include "ZelvoGateway/console/PageTexts.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(PageTexts, areInTheLanguageThatTheBrowserPrefers)
{
    EXPECT_EQ(preferredLanguage("ru"), "ru");
    EXPECT_EQ(preferredLanguage("ru-RU,ru;q=0.9,en;q=0.8"), "ru");
    EXPECT_EQ(preferredLanguage("de-DE,de;q=0.9,RU;q=0.8,en;q=0.7"), "ru");
    EXPECT_EQ(preferredLanguage("en;q=0.5, ru;q=0.9"), "ru");
    EXPECT_EQ(preferredLanguage("en-GB,ru;q=0.9"), "en");
}

TEST(PageTexts, areInEnglishForEveryOtherHeader)
{
    for (char const* const header :
         {"", "de", "*", ",,;,", "ru;q=0", ";q=1", "russian", "../ru", "-", "ru;q=-1", "ru;q=0.000"})
        EXPECT_EQ(preferredLanguage(header), "en") << header;
}

TEST(PageTexts, showNamesAsText)
{
    std::string const page = filledPage("<p>{{consent.platformAsks}}</p>", "en", "<script>&\"'{{x}}{0}", {});

    EXPECT_EQ(page, "<p>&lt;script&gt;&amp;&quot;&#39;{{x}}{0} would like to use this computer</p>");
}

TEST(PageTexts, fillPartsAndKeepTheRest)
{
    std::map<std::string, std::string, std::less<>> const parts{{"one", "<b>"}};

    EXPECT_EQ(filledPage("a {{one}} b {{two", "en", "", parts), "a <b> b {{two");
    EXPECT_EQ(filledPage("{{no.such.key}}", "en", "", {}), "");
}

} // namespace
} // namespace zelvo::service
