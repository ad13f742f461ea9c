#include "platform/portable/settings/SettingsVersion.h"

#include "platform/portable/settings/FileUserDefaults.h"
#include "unit/system/TemporaryFolder.h"

#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

namespace fs = std::filesystem;
using Step = SettingsVersion::Step;

class SettingsVersionTest : public testing::Test {
protected:
    TemporaryFolder temporary;
    fs::path folder = temporary.path / "defaults";
    bool wasPutBack = false;

    void store(std::string const& name, std::string const& content) const
    {
        fs::create_directories(folder);
        writeFile(folder / name, content);
    }
    std::string stored(std::string const& name) const { return contentOf(folder / name); }
    void bringTo(int version, std::vector<Step> steps = {})
    {
        SettingsVersion(folder, version, steps).bringUpToDate([this] { return wasPutBack; });
    }
    std::string failureAt(int version, std::vector<Step> steps = {})
    {
        try {
            bringTo(version, std::move(steps));
        } catch (SettingsFailure const& failure) {
            return failure.what();
        }
        return "none";
    }
    int count() const { return static_cast<int>(std::distance(fs::directory_iterator(temporary.path), {})); }

    static void rename(fs::path const& folder) { fs::rename(folder / "old.json", folder / "new.json"); }
    static void append(fs::path const& folder)
    {
        writeFile(folder / "new.json", contentOf(folder / "new.json") + "+");
    }
    static void fail(fs::path const& folder)
    {
        fs::remove(folder / "old.json");
        throw SettingsFailure("can't");
    }
};

TEST_F(SettingsVersionTest, newSettingsHaveThePresentVersion)
{
    bringTo(3);

    EXPECT_EQ(stored("version"), "3\n");
    EXPECT_EQ(count(), 1);
}

TEST_F(SettingsVersionTest, settingsWithoutAVersionAreOfVersionZero)
{
    store("zelvo.recording.mode.json", "\"local\"");

    EXPECT_EQ(SettingsVersion(folder).stored(), 0);
}

TEST_F(SettingsVersionTest, olderOnesAreMigratedStepByStepAfterACopy)
{
    store("old.json", "1");
    store("other.json", "2");

    bringTo(2, {{.from = 0, .apply = rename}, {.from = 1, .apply = append}});

    EXPECT_EQ(stored("new.json"), "1+");
    EXPECT_EQ(stored("other.json"), "2");
    EXPECT_EQ(stored("version"), "2\n");
    EXPECT_FALSE(fs::exists(folder / "old.json"));
    EXPECT_EQ(contentOf(SettingsVersion(folder).copyOf(0) / "old.json"), "1");
    EXPECT_EQ(count(), 2);
}

TEST_F(SettingsVersionTest, stepsThatAreBehindAreLeftOut)
{
    store("new.json", "1");
    store("version", "1\n");

    bringTo(2, {{.from = 0, .apply = rename}, {.from = 1, .apply = append}});

    EXPECT_EQ(stored("new.json"), "1+");
}

TEST_F(SettingsVersionTest, aStepThatFailsChangesNothing)
{
    store("old.json", "1");

    EXPECT_EQ(failureAt(1, {{.from = 0, .apply = fail}}), "can't");

    EXPECT_EQ(stored("old.json"), "1");
    EXPECT_EQ(SettingsVersion(folder).stored(), 0);
    bringTo(1, {{.from = 0, .apply = rename}});
    EXPECT_EQ(stored("new.json"), "1");
}

TEST_F(SettingsVersionTest, leftoversOfAKilledMigrationDoNoHarm)
{
    store("old.json", "1");
    fs::create_directories(temporary.path / "defaults.new");
    writeFile(temporary.path / "defaults.new" / "half.json", "half");

    bringTo(1, {{.from = 0, .apply = rename}});

    EXPECT_EQ(stored("new.json"), "1");
    EXPECT_FALSE(fs::exists(folder / "half.json"));
}

TEST_F(SettingsVersionTest, aVersionThatCannotBeReadIsNoOldOne)
{
    store("version", "");
    store("new.json", "1");

    EXPECT_NE(failureAt(1, {{.from = 0, .apply = rename}}), "none");

    EXPECT_EQ(stored("new.json"), "1");
}

TEST_F(SettingsVersionTest, newerOnesAreRefusedWithWordsAndStay)
{
    store("version", "9\n");
    store("new.json", "1");

    EXPECT_NE(failureAt(1).find(folder.string()), std::string::npos);

    EXPECT_EQ(stored("version"), "9\n");
    EXPECT_EQ(stored("new.json"), "1");
    EXPECT_EQ(count(), 1);
}

TEST_F(SettingsVersionTest, aVersionThatIsPutBackFindsItsSettings)
{
    store("old.json", "1");
    bringTo(1, {{.from = 0, .apply = rename}});
    bringTo(2, {{.from = 1, .apply = append}});
    wasPutBack = true;

    bringTo(1);

    EXPECT_EQ(stored("new.json"), "1");
    EXPECT_EQ(stored("version"), "1\n");
    EXPECT_EQ(contentOf(SettingsVersion(folder).copyOf(2) / "new.json"), "1+");
    EXPECT_EQ(failureAt(1), "none");
}

TEST_F(SettingsVersionTest, withoutACopyEvenAVersionThatIsPutBackRefuses)
{
    store("version", "9\n");
    wasPutBack = true;

    EXPECT_NE(failureAt(1), "none");
}

TEST_F(SettingsVersionTest, copiesArePrivate)
{
    store("old.json", "1");
    bringTo(1, {{.from = 0, .apply = rename}});

    for (fs::path const& one : {folder, SettingsVersion(folder).copyOf(0)})
        EXPECT_EQ(fs::status(one).permissions(), fs::perms(0700)) << one;
    EXPECT_EQ(fs::status(folder / "new.json").permissions(), fs::perms(0600));
}

/// The settings that each version has written stay readable.
class StoredSettings : public testing::TestWithParam<int> {};

TEST_P(StoredSettings, areReadByThisVersion)
{
    TemporaryFolder temporary;
    fs::path const folder = temporary.path / "defaults";
    fs::copy(fs::path(SETTINGS_FIXTURES) / ("v" + std::to_string(GetParam())), folder);
    asio::thread_pool workers{1};
    FileUserDefaults defaults(workers.get_executor(), folder);

    defaults.bringUpToDate();

    EXPECT_EQ(SettingsVersion(folder).stored(), SettingsVersion::current);
    EXPECT_EQ(defaults.text("zelvo.recording.mode"), "local");
    EXPECT_EQ(defaults.boolean("zelvo.strictGuard"), true);
    EXPECT_EQ(defaults.textArray("dev.zelvo.fileRoots"), std::vector<std::string>{"/home/person/Shared"});
    EXPECT_TRUE(defaults.bytes("zelvo.connections"));
    workers.join();
}

INSTANTIATE_TEST_SUITE_P(OfEachVersion, StoredSettings, testing::Range(0, SettingsVersion::current + 1));

} // namespace
} // namespace zelvo
