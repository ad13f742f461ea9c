#include "drivers/HiddenAppsStore.h"

#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zelvo {
namespace {

constexpr std::string_view key = "dev.zelvo.hiddenApps";

class HiddenAppsStoreTest : public testing::Test {
public:
    std::set<std::string> hidden() { return run(platform.io, store.bundleIds()); }
    void add(std::string bundleId) { run(platform.io, store.add(std::move(bundleId))); }
    void remove(std::string bundleId) { run(platform.io, store.remove(std::move(bundleId))); }
    bool isHidden(std::optional<std::string> bundleId)
    {
        return run(platform.io, store.isHidden(std::move(bundleId)));
    }
    std::string stored() { return platform.settings.contents[std::string(key)]; }

    FakePlatform platform;
    HiddenAppsStore store{platform.contexts.agent, platform.settings};
};

TEST_F(HiddenAppsStoreTest, hidesNothingOnAFreshMachine)
{
    EXPECT_TRUE(hidden().empty());
    EXPECT_EQ(run(platform.io, store.count()), 0u);
    for (std::string_view const suggestion : HiddenAppsStore::suggestions)
        EXPECT_FALSE(isHidden(std::string(suggestion))) << suggestion;
}

TEST_F(HiddenAppsStoreTest, storesWhatIsAddedSorted)
{
    add("org.c");
    add("org.a");
    add("org.b");

    EXPECT_EQ(stored(), R"(["org.a","org.b","org.c"])");
    EXPECT_EQ(hidden(), (std::set<std::string>{"org.a", "org.b", "org.c"}));
    EXPECT_EQ(run(platform.io, store.count()), 3u);
}

TEST_F(HiddenAppsStoreTest, storesAnIdentifierOnce)
{
    add("org.a");
    add("org.a");

    EXPECT_EQ(stored(), R"(["org.a"])");
}

TEST_F(HiddenAppsStoreTest, removesWhatWasAdded)
{
    add("org.a");
    add("org.b");
    remove("org.a");

    EXPECT_EQ(stored(), R"(["org.b"])");
    EXPECT_FALSE(isHidden("org.a"));
}

TEST_F(HiddenAppsStoreTest, writesTheSetUnchangedWhenNothingWasToRemove)
{
    platform.settings.setTextArray(key, {"org.b", "org.a", "org.b"});

    remove("org.c");

    EXPECT_EQ(stored(), R"(["org.a","org.b"])");
}

TEST_F(HiddenAppsStoreTest, answersAChangeOnlyWhenItIsOnDisk)
{
    add("org.a");
    EXPECT_EQ(platform.settings.writtenCalls, 1);

    remove("org.a");
    EXPECT_EQ(platform.settings.writtenCalls, 2);
}

TEST_F(HiddenAppsStoreTest, comparesIdentifiersExactly)
{
    add("org.Mousepad");

    EXPECT_TRUE(isHidden("org.Mousepad"));
    EXPECT_FALSE(isHidden("org.mousepad"));
    EXPECT_FALSE(isHidden("org.Mouse"));
    EXPECT_FALSE(isHidden(""));
}

TEST_F(HiddenAppsStoreTest, hidesNoAbsentIdentifier)
{
    add("org.a");

    EXPECT_FALSE(isHidden(std::nullopt));
}

TEST_F(HiddenAppsStoreTest, keepsNoCopyOfTheList)
{
    add("org.a");

    platform.settings.setTextArray(key, {"org.z"});

    EXPECT_EQ(hidden(), std::set<std::string>{"org.z"});
    EXPECT_TRUE(isHidden("org.z"));
    EXPECT_FALSE(isHidden("org.a"));
}

TEST_F(HiddenAppsStoreTest, readsAListThatIsNoneAsEmpty)
{
    for (std::string const content : {"", "7", R"("org.a")", R"(["org.a",1])", "{", R"({"a":1})"}) {
        platform.settings.setBytes(key, content);
        EXPECT_TRUE(hidden().empty()) << content;
    }
}

TEST_F(HiddenAppsStoreTest, losesNoChangeOfTwoAtOnce)
{
    for (std::string const bundleId : {"org.c", "org.a", "org.b"})
        spawn(platform.contexts.agent, [this, bundleId] { return store.add(bundleId); });
    platform.settle();

    EXPECT_EQ(hidden(), (std::set<std::string>{"org.a", "org.b", "org.c"}));
}

TEST_F(HiddenAppsStoreTest, suggestsPasswordKeepersAndMessagesFirst)
{
    std::vector<std::string_view> const first(HiddenAppsStore::suggestions.begin(),
                                              HiddenAppsStore::suggestions.begin() + 6);
    std::set<std::string_view> const all(HiddenAppsStore::suggestions.begin(),
                                         HiddenAppsStore::suggestions.end());

    EXPECT_EQ(first, (std::vector<std::string_view>{"com.apple.Passwords", "com.apple.keychainaccess",
                                                    "com.agilebits.onepassword7", "com.1password.1password",
                                                    "com.bitwarden.desktop", "com.apple.MobileSMS"}));
    EXPECT_EQ(all.size(), HiddenAppsStore::suggestions.size()); // No duplicates.
}

} // namespace
} // namespace zelvo
