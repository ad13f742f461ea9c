#include "gateway/HeartbeatBuilder.h"

#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

class HeartbeatBuilderTest : public testing::Test {
protected:
    FakePlatform platform;
    StateMirror mirror;
    std::string recording = "off";
    HiddenAppsStore store{platform.contexts.agent, platform.settings};
    HeartbeatBuilder builder{{.information = platform.info,
                              .facts = platform.machineFacts,
                              .access = platform.systemAccess,
                              .screen = platform.screenSource,
                              .state = [this] { return mirror; },
                              .recordingMode = [this] { return recording; }}};

    json::object record() { return *run(platform.io, builder.current()); }
};

TEST_F(HeartbeatBuilderTest, recordHasExactlyItsKeysInOrder)
{
    std::vector<std::string> keys;
    for (auto const& [key, value] : record())
        keys.emplace_back(key);

    EXPECT_THAT(keys,
                testing::ElementsAre("appVersion", "computerName", "macosVersion", "mode", "permissions",
                                     "paused", "availability", "hiddenAppCount", "display", "diskFreeGb",
                                     "memUsedMb", "grantedConnectionIds", "recording", "features"));
}

TEST_F(HeartbeatBuilderTest, valuesComeFromTheirSources)
{
    platform.info.texts["CFBundleShortVersionString"] = "2.5";
    platform.systemAccess.granted = {.accessibility = true, .screenRecording = false};
    mirror = {.paused = true, .availability = Availability::screenLocked, .grantedConnectionIds = {"a", "b"}};
    recording = "share";
    builder.mode.set(AgentMode::cloud);
    platform.machineFacts.freeBytes = 3ull << 29;
    platform.machineFacts.memoryBytes = (40ull << 20) + 1'000'000;
    builder.refreshDisplay();

    json::object const all = record();

    EXPECT_EQ(all.at("appVersion"), "2.5");
    EXPECT_EQ(all.at("computerName"), "desk");
    EXPECT_EQ(all.at("macosVersion"), "12.0.0");
    EXPECT_EQ(all.at("mode"), "cloud");
    EXPECT_EQ(all.at("permissions"), (json::object{{"screenRecording", false}, {"accessibility", true}}));
    EXPECT_EQ(all.at("paused"), true);
    EXPECT_EQ(all.at("availability"), "screen_locked");
    EXPECT_EQ(all.at("diskFreeGb"), 1.5);
    EXPECT_EQ(all.at("memUsedMb"), 40);
    EXPECT_EQ(all.at("grantedConnectionIds"), (json::array{"a", "b"}));
    EXPECT_EQ(all.at("recording"), "share");
    EXPECT_EQ(all.at("features"), (json::array{"connection_names", "agents"}));
    EXPECT_EQ(
        all.at("display"),
        (json::object{{"widthPoints", 1512}, {"heightPoints", 982}, {"scaleFactor", 1}, {"displayId", 7u}}));
}

TEST_F(HeartbeatBuilderTest, displayIsNullAndStaysInTheRecordWithoutAScreen)
{
    platform.screenSource.attached.clear();
    builder.refreshDisplay();
    ASSERT_TRUE(record().contains("display"));
    EXPECT_TRUE(record().at("display").is_null());
}

TEST_F(HeartbeatBuilderTest, displayIsNullBeforeTheFirstRefresh)
{
    EXPECT_TRUE(record().at("display").is_null());
    EXPECT_EQ(record().at("paused"), false);
    EXPECT_EQ(record().at("availability"), "ready");
    EXPECT_EQ(record().at("grantedConnectionIds"), json::array());
}

TEST_F(HeartbeatBuilderTest, displaySizeIsCutTowardZeroAndOnlyTheFirstScreenCounts)
{
    platform.screenSource.attached = {
        {.id = 1, .widthPoints = 1365.9, .heightPoints = 767.99, .scaleFactor = 1.5},
        {.id = 2, .widthPoints = 10, .heightPoints = 10}};
    builder.refreshDisplay();
    EXPECT_EQ(record().at("display").at("widthPoints"), 1365);
    EXPECT_EQ(record().at("display").at("heightPoints"), 767);
    EXPECT_EQ(record().at("display").at("scaleFactor"), 1.5);
}

TEST_F(HeartbeatBuilderTest, nameOfControlCharactersOrSpacesIsMac)
{
    for (char const* const name : {"", "  \t ", "\x01\x02\n", " \xE2\x80\x8B "}) {
        platform.machineFacts.name = name;
        EXPECT_EQ(builder.computerName(), "Mac") << testing::PrintToString(name);
    }
    platform.machineFacts.name = std::nullopt;
    EXPECT_EQ(builder.computerName(), "Mac");
}

TEST_F(HeartbeatBuilderTest, controlCharactersGoAndTheRestIsTrimmed)
{
    platform.machineFacts.name = " \x01My\nDesk\x7f  ";
    EXPECT_EQ(builder.computerName(), "MyDesk");
}

TEST_F(HeartbeatBuilderTest, longNameIsCutToCharactersNotBytes)
{
    std::string name;
    for (int i = 0; i < 200; ++i)
        name += "é";
    platform.machineFacts.name = name;
    EXPECT_EQ(builder.computerName(), name.substr(0, std::string("é").size() * 128));
}

TEST_F(HeartbeatBuilderTest, equalHiddenEntriesCountOnce)
{
    platform.settings.contents["dev.zelvo.hiddenApps"] = R"(["a","b","a"])";
    builder.hiddenApps.set(&store);
    EXPECT_EQ(record().at("hiddenAppCount"), 2);
}

TEST_F(HeartbeatBuilderTest, noStoreMeansNothingHidden)
{
    platform.settings.contents["dev.zelvo.hiddenApps"] = R"(["a"])";
    EXPECT_EQ(record().at("hiddenAppCount"), 0);
}

TEST_F(HeartbeatBuilderTest, factsThatCannotBeHadAreZero)
{
    platform.machineFacts.freeBytes = std::nullopt;
    platform.machineFacts.memoryBytes = std::nullopt;
    EXPECT_EQ(record().at("diskFreeGb"), 0);
    EXPECT_EQ(record().at("memUsedMb"), 0);
}

TEST_F(HeartbeatBuilderTest, versionWithoutPackagingIsZero)
{
    EXPECT_EQ(builder.appVersion(), "0.0.0");
}

TEST_F(HeartbeatBuilderTest, onlyCloudIsConfigurable)
{
    EXPECT_EQ(HeartbeatBuilder::configuredMode(platform.settings), AgentMode::connected);
    for (auto const& [stored, mode] : std::map<std::string, AgentMode>{{R"("cloud")", AgentMode::cloud},
                                                                       {R"("vm")", AgentMode::connected},
                                                                       {R"("Cloud")", AgentMode::connected},
                                                                       {"5", AgentMode::connected}}) {
        platform.settings.contents["ZelvoMode"] = stored;
        EXPECT_EQ(HeartbeatBuilder::configuredMode(platform.settings), mode) << stored;
    }
}

} // namespace
} // namespace zelvo
