#include "drivers/ElectronAccessibility.h"

#include "fakes/FakeAccessibility.h"
#include "fakes/Run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Attribute = AccessibilityAttribute;

/// An application's folder, deleted at the end of the test.
class Bundle {
public:
    Bundle() : folder(std::filesystem::temp_directory_path() / ("bundle-" + unique()))
    {
        std::filesystem::create_directories(folder);
    }
    ~Bundle() { std::filesystem::remove_all(folder); }
    Bundle(Bundle const&) = delete;
    Bundle& operator=(Bundle const&) = delete;

    void addFramework(std::string const& name) const
    {
        std::filesystem::create_directories(folder / "Contents" / "Frameworks" / name);
    }
    void addFile(std::string const& name) const { std::ofstream(folder / name) << "."; }
    std::string path() const { return folder.string(); }

private:
    static std::string unique()
    {
        static int count = 0;
        return std::to_string(::getpid()) + "-" + std::to_string(++count);
    }
    std::filesystem::path folder;
};

bool embeds(std::string const& framework)
{
    Bundle const bundle;
    bundle.addFramework(framework);
    return ElectronAccessibility::embedsChromium(bundle.path());
}

class KnownPrefix : public testing::TestWithParam<char const*> {};

TEST_P(KnownPrefix, isChromium)
{
    EXPECT_TRUE(ElectronAccessibility::looksLikeChromium(GetParam()));
    EXPECT_TRUE(ElectronAccessibility::looksLikeChromium(std::string(GetParam()) + ".more"));
}

INSTANTIATE_TEST_SUITE_P(All,
                         KnownPrefix,
                         testing::Values("com.google.Chrome",
                                         "com.microsoft.edgemac",
                                         "com.brave.Browser",
                                         "com.vivaldi.Vivaldi",
                                         "company.thebrowser.Browser",
                                         "com.microsoft.VSCode",
                                         "com.visualstudio.code",
                                         "com.tinyspeck.slackmacgap",
                                         "com.hnc.Discord",
                                         "com.figma.Desktop",
                                         "notion.id",
                                         "com.spotify.client",
                                         "com.electron.",
                                         "google-chrome",
                                         "chromium",
                                         "microsoft-edge",
                                         "org.chromium.Chromium",
                                         "com.microsoft.Edge",
                                         "brave-browser",
                                         "brave_brave",
                                         "vivaldi",
                                         "vivaldi-stable",
                                         "vivaldi_vivaldi",
                                         "com.visualstudio.code.insiders",
                                         "code-insiders",
                                         "code-oss",
                                         "code-url-handler",
                                         "code_code",
                                         "slack",
                                         "slack_slack",
                                         "com.slack.Slack",
                                         "discord",
                                         "com.discordapp.Discord",
                                         "figma-linux",
                                         "io.github.Figma_Linux.figma_linux",
                                         "notion-app",
                                         "notion-desktop",
                                         "notion-snap",
                                         "spotify",
                                         "com.spotify.Client"));

TEST(ElectronAccessibility, knowsVsCodeByItsWholeId)
{
    EXPECT_TRUE(ElectronAccessibility::looksLikeChromium("code"));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium("codeblocks"));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium("codelite"));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium("code.desktop"));
}

TEST(LooksLikeChromium, matchesByPrefixAndRespectsCase)
{
    EXPECT_TRUE(ElectronAccessibility::looksLikeChromium("com.electron.myapp"));
    EXPECT_TRUE(ElectronAccessibility::looksLikeChromium("com.google.Chrome.canary"));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium("com.google.chrome"));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium("org.example.app"));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium(std::nullopt));
}

TEST(LooksLikeChromium, isFalseWithNeitherIdentifierNorFolder)
{
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium(std::nullopt, std::nullopt));
    EXPECT_FALSE(ElectronAccessibility::looksLikeChromium("org.example.app", std::nullopt));
}

TEST(LooksLikeChromium, matchesByContentAndLooksOnlyOnce)
{
    std::string path;
    {
        Bundle const bundle;
        bundle.addFramework("Electron Framework.framework");
        path = bundle.path();
        EXPECT_TRUE(ElectronAccessibility::looksLikeChromium("org.example.app", path));
    }
    EXPECT_TRUE(ElectronAccessibility::looksLikeChromium("org.example.app", path)); // From the cache.
}

TEST(EmbedsChromium, knowsFrameworksByNameAndByWord)
{
    EXPECT_TRUE(embeds("Electron Framework.framework"));
    EXPECT_TRUE(embeds("Chromium Embedded Framework.framework"));
    EXPECT_TRUE(embeds("Google Chrome Framework.framework"));
    EXPECT_TRUE(embeds("Microsoft Edge Framework.framework"));
    EXPECT_TRUE(embeds("Brave Browser Framework.framework"));
    EXPECT_TRUE(embeds("Chromium Framework.framework"));
    EXPECT_FALSE(embeds("Foo Framework.framework"));
    EXPECT_FALSE(embeds("chrome Framework.framework"));
    EXPECT_FALSE(embeds("Chrome.framework"));
    EXPECT_FALSE(embeds("Chrome Framework.framework.old"));
}

TEST(EmbedsChromium, keepsThatAFolderHasNoFrameworks)
{
    Bundle const bundle;
    EXPECT_FALSE(ElectronAccessibility::embedsChromium(bundle.path()));
    bundle.addFramework("Electron Framework.framework");
    EXPECT_FALSE(ElectronAccessibility::embedsChromium(bundle.path()));
}

TEST(EmbedsChromium, knowsTheDataThatChromiumKeepsBesideItsProgram)
{
    auto const holds = [](std::vector<std::string> const& files) {
        Bundle const bundle;
        for (std::string const& file : files)
            bundle.addFile(file);
        return ElectronAccessibility::embedsChromium(bundle.path());
    };
    EXPECT_TRUE(holds({"icudtl.dat", "resources.pak"}));
    EXPECT_TRUE(holds({"v8_context_snapshot.bin", "chrome_100_percent.pak"}));
    EXPECT_FALSE(holds({"icudtl.dat", "v8_context_snapshot.bin"}));
    EXPECT_FALSE(holds({"resources.pak", "chrome_100_percent.pak"}));
    EXPECT_FALSE(holds({}));
}

class ElectronAccessibilityTest : public testing::Test {
protected:
    asio::io_context io;
    FakeAccessibility system;
    ElectronAccessibility electron{contextsOn(io), system};

    bool enable(std::int32_t pid) { return run(io, electron.enable(pid)); }
    bool isManaged(std::int32_t pid) { return run(io, electron.isManagedByUs(pid)); }
};

TEST_F(ElectronAccessibilityTest, switchesBothAttributesOnAndRemembersIt)
{
    system.applications[7].accepts = {{Attribute::manualAccessibility, true},
                                      {Attribute::enhancedUserInterface, true}};
    EXPECT_TRUE(enable(7));
    EXPECT_TRUE(isManaged(7));
    EXPECT_THAT(system.written, ElementsAre("7 manualAccessibility on", "7 enhancedUserInterface on"));
}

TEST_F(ElectronAccessibilityTest, asksAManagedProcessNothing)
{
    system.applications[7].accepts = {{Attribute::manualAccessibility, true}};
    enable(7);
    system.readers.clear();
    EXPECT_TRUE(enable(7));
    EXPECT_THAT(system.readers, IsEmpty());
}

TEST_F(ElectronAccessibilityTest, leavesAnApplicationThatIsOnAlready)
{
    for (Attribute const attribute : {Attribute::manualAccessibility, Attribute::enhancedUserInterface}) {
        system.applications[7].flags = {{attribute, true}};
        EXPECT_TRUE(enable(7));
        EXPECT_FALSE(isManaged(7));
    }
    EXPECT_THAT(system.written, IsEmpty());
}

TEST_F(ElectronAccessibilityTest, countsAnAttributeThatIsOffAsNotEnabled)
{
    system.applications[7].flags = {{Attribute::manualAccessibility, false}};
    system.applications[7].accepts = {{Attribute::manualAccessibility, true}};
    EXPECT_TRUE(enable(7));
    EXPECT_TRUE(isManaged(7));
}

TEST_F(ElectronAccessibilityTest, isContentWithOneOfTheTwoAttributes)
{
    system.applications[7].accepts = {{Attribute::enhancedUserInterface, true}};
    EXPECT_TRUE(enable(7));
    EXPECT_TRUE(isManaged(7));
    system.applications[8].accepts = {{Attribute::manualAccessibility, true}};
    EXPECT_TRUE(enable(8));
    EXPECT_EQ(system.written.size(), 4u);
}

TEST_F(ElectronAccessibilityTest, saysSoWhenBothAreRefused)
{
    EXPECT_FALSE(enable(7));
    EXPECT_FALSE(isManaged(7));
    EXPECT_EQ(system.written.size(), 2u);
}

TEST_F(ElectronAccessibilityTest, disablesOnlyWhatItHasEnabled)
{
    system.applications[7].accepts = {{Attribute::manualAccessibility, true}};
    system.applications[8].flags = {{Attribute::manualAccessibility, true}};
    enable(7);
    enable(8);
    system.written.clear();

    run(io, electron.disableAll());

    EXPECT_THAT(system.written, ElementsAre("7 manualAccessibility off", "7 enhancedUserInterface off"));
    EXPECT_FALSE(isManaged(7));
}

TEST_F(ElectronAccessibilityTest, disablesOneProcess)
{
    system.applications[7].accepts = {{Attribute::manualAccessibility, true}};
    enable(7);
    system.written.clear();
    run(io, electron.disable(8));
    EXPECT_THAT(system.written, IsEmpty());
    run(io, electron.disable(7));
    EXPECT_EQ(system.written.size(), 2u);
    EXPECT_FALSE(isManaged(7));
}

TEST_F(ElectronAccessibilityTest, forgetsAProcessWithoutACall)
{
    system.applications[7].accepts = {{Attribute::manualAccessibility, true}};
    enable(7);
    system.written.clear();
    run(io, electron.forget(7));
    EXPECT_FALSE(isManaged(7));
    EXPECT_THAT(system.written, IsEmpty());
}

} // namespace
} // namespace zelvo
