#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>
#include <unicode/messagepattern.h>
#include <unicode/unistr.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

// Keys that the code puts together: a prefix, and what follows it there.
std::map<std::string, std::vector<std::string>> const computedKeys = {
    {"scope.", {"screen", "input", "shell", "files", "clipboard", "record"}},
    {"scope.short.", {"screen", "input", "shell", "files", "clipboard", "record"}},
    {"recording.mode.", {"off", "local", "share"}},
    {"queue.policy.", {"ask", "auto", "never"}}};

std::set<std::string> allComputedKeys()
{
    std::set<std::string> keys;
    for (auto const& [prefix, ends] : computedKeys)
        for (std::string const& end : ends)
            keys.insert(prefix + end);
    return keys;
}

std::string contentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Adds what `key` finds in the files of a folder with one of these extensions, with the file that it stands
// in.
void collect(std::map<std::string, std::string>& all,
             fs::path const& folder,
             std::set<std::string> const& extensions,
             std::regex const& key)
{
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(folder)) {
        if (!extensions.contains(entry.path().extension().string()))
            continue;
        std::string const code = contentOf(entry.path());
        for (std::sregex_iterator match(code.begin(), code.end(), key), end; match != end; ++match)
            all.emplace((*match)[1], entry.path().string());
    }
}

// The keys in the gateway's pages, with the file that they stand in.
std::map<std::string, std::string> keysOfPages()
{
    std::map<std::string, std::string> all;
    collect(all, ZELVO_PAGES, {".html"}, std::regex("\\{\\{([a-z]+(?:\\.[a-zA-Z0-9]+)+)\\}\\}"));
    return all;
}

// Every text literal of the program's sources that has the form of a key, and the keys of pages.
std::map<std::string, std::string> const& literals()
{
    static std::map<std::string, std::string> const found = [] {
        std::map<std::string, std::string> all = keysOfPages();
        collect(all, ZELVO_SOURCES, {".cpp", ".h"}, std::regex("\"([a-z]+(?:\\.[a-zA-Z0-9]+)+)\""));
        return all;
    }();
    return found;
}

std::set<std::string> keysOf(std::string const& language)
{
    std::vector<std::string> const all = texts::keys(language);
    return {all.begin(), all.end()};
}

// The placeholders of a pattern, "0" and "1" for instance; a failure when it is no pattern.
std::set<std::string> argumentsOf(std::string const& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::MessagePattern const parsed(icu::UnicodeString::fromUTF8(pattern), nullptr, status);
    EXPECT_TRUE(U_SUCCESS(status)) << pattern;
    std::set<std::string> names;
    for (int32_t index = 0; index < parsed.countParts(); ++index) {
        icu::MessagePattern::Part const& part = parsed.getPart(index);
        if (part.getType() == UMSGPAT_PART_TYPE_ARG_NAME || part.getType() == UMSGPAT_PART_TYPE_ARG_NUMBER) {
            std::string name;
            parsed.getSubstring(part).toUTF8String(name);
            names.insert(name);
        }
    }
    return names;
}

TEST(Texts, haveTheSameKeysInEveryLanguage)
{
    for (std::string const& language : texts::languages())
        EXPECT_EQ(keysOf(language), keysOf("en")) << language;
}

TEST(Texts, haveTheSameArgumentsInEveryLanguage)
{
    for (std::string const& language : texts::languages())
        for (std::string const& key : texts::keys("en"))
            EXPECT_EQ(argumentsOf(texts::pattern(language, key)), argumentsOf(texts::pattern("en", key)))
                << key;
}

// The cases of the plurals in a pattern, "one" and "other" for instance.
std::set<std::string> pluralCasesOf(std::string const& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::MessagePattern const parsed(icu::UnicodeString::fromUTF8(pattern), nullptr, status);
    std::set<std::string> cases;
    bool isPlural = false;
    for (int32_t index = 0; index < parsed.countParts(); ++index) {
        icu::MessagePattern::Part const& part = parsed.getPart(index);
        if (part.getType() == UMSGPAT_PART_TYPE_ARG_START)
            isPlural = part.getArgType() == UMSGPAT_ARG_TYPE_PLURAL;
        if (part.getType() == UMSGPAT_PART_TYPE_ARG_SELECTOR && isPlural) {
            std::string name;
            parsed.getSubstring(part).toUTF8String(name);
            cases.insert(name);
        }
    }
    return cases;
}

TEST(Texts, haveEveryPluralOfTheirLanguage)
{
    std::map<std::string, std::set<std::string>> const needed = {{"en", {"one", "other"}},
                                                                 {"ru", {"one", "few", "many", "other"}}};
    std::size_t plurals = 0;
    for (std::string const& language : texts::languages())
        for (std::string const& key : texts::keys(language))
            if (auto const cases = pluralCasesOf(texts::pattern(language, key)); !cases.empty()) {
                ++plurals;
                EXPECT_EQ(cases, needed.at(language)) << language << " " << key;
            }
    EXPECT_GE(plurals, 18U);
}

TEST(Texts, takeTheArgumentsThatTheyAreFilledWith)
{
    std::map<std::string, std::set<std::string>> const filled = {{"confirm.title.keyShortcut", {"0"}},
                                                                 {"consent.domainVerified", {"0"}},
                                                                 {"consent.footer", {"0"}},
                                                                 {"consent.platformAsks", {"0"}},
                                                                 {"gateway.httpStatus", {"0"}},
                                                                 {"gateway.retrying.detail", {"0", "1"}},
                                                                 {"link.reason.keychain", {"0"}},
                                                                 {"link.error.transport", {"0", "1"}},
                                                                 {"link.error.unreachable", {"0", "1"}},
                                                                 {"recording.keptLocal", {"0"}},
                                                                 {"recording.share.detail", {"0"}},
                                                                 {"recording.share.title", {"0"}}};

    for (auto const& [key, arguments] : filled)
        EXPECT_EQ(argumentsOf(texts::pattern("en", key)), arguments) << key;
}

TEST(Texts, existForEveryKeyThatTheCodeNames)
{
    std::set<std::string> const known = keysOf("en");
    std::regex const call("localized\\(\\s*\"([^\"]*)\"\\s*([,)+])");

    for (std::string const& key : allComputedKeys())
        EXPECT_TRUE(known.contains(key)) << key;
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(ZELVO_SOURCES)) {
        std::string const code = entry.is_regular_file() ? contentOf(entry.path()) : std::string();
        for (std::sregex_iterator match(code.begin(), code.end(), call), end; match != end; ++match) {
            std::string const key = (*match)[1];
            bool const isComputed = (*match)[2] == "+";
            EXPECT_TRUE(isComputed ? computedKeys.contains(key) : known.contains(key))
                << key << " in " << entry.path();
        }
    }
}

TEST(Texts, existForEveryKeyOfAPage)
{
    std::set<std::string> const known = keysOf("en");

    EXPECT_FALSE(keysOfPages().empty());
    for (auto const& [key, file] : keysOfPages())
        EXPECT_TRUE(known.contains(key)) << key << " in " << file;
}

TEST(Texts, areAllUsed)
{
    std::set<std::string> const computed = allComputedKeys();

    for (std::string const& key : texts::keys("en"))
        EXPECT_TRUE(computed.contains(key) || literals().contains(key)) << key << " is used nowhere";
}

TEST(Texts, areFilledInEveryLanguage)
{
    for (std::string const& language : texts::languages()) {
        texts::useLanguage(language);
        EXPECT_NE(localized("gateway.httpStatus", {std::int64_t{1503}}).find("1503"), std::string::npos);
        EXPECT_NE(localized("consent.platformAsks", {std::string("Acme {0} 'x'")}).find("Acme {0} 'x'"),
                  std::string::npos);
        std::string const detail =
            localized("gateway.retrying.detail", {std::string("Why"), std::string("12:34:56")});
        EXPECT_LT(detail.find("Why"), detail.find("12:34:56"));
    }
    texts::useLanguage("en");
}

} // namespace
} // namespace zelvo
