#include "platform/linux/applications/LinuxInstallation.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

/// A program on a stick, and the folders of a person who has never used it.
class LinuxInstallationTest : public testing::Test {
protected:
    void SetUp() override
    {
        writeFile(program, content);
        ::chmod(program.c_str(), 0777);
        writeFile(program.parent_path() / "Info.json", R"({"CFBundleShortVersionString": "1.10"})");
    }
    void installOlder()
    {
        writeFile(installedProgram, "old program");
        writeFile(installedFolder / "Info.json", R"({"CFBundleShortVersionString": "1.9"})");
    }
    fs::path inTrash(std::string const& name) const { return data / "Trash" / "files" / name; }
    std::vector<std::string> installedFiles() const
    {
        std::vector<std::string> names;
        for (fs::directory_entry const& each : fs::directory_iterator(installedFolder))
            names.push_back(each.path().filename());
        std::ranges::sort(names);
        return names;
    }

    TemporaryFolder folder;
    std::string const content = std::string(3 << 20, 'z') + "end"; // Longer than one piece of copying.
    fs::path program = folder.path / "stick" / "zelvo-agent";
    fs::path data = folder.path / "home" / "data home";
    fs::path config = folder.path / "home" / "config";
    fs::path installedFolder = data / "zelvo-agent";
    fs::path installedProgram = installedFolder / "zelvo-agent";
    fs::path entry = data / "applications" / "dev.zelvo.agent.desktop";
    fs::path autostart = config / "autostart" / "dev.zelvo.agent.desktop";
    std::vector<fs::path> registered;
    LinuxInstallation installation{program,
                                   {.dataHome = data, .configHome = config, .runtime = "/run/user/7"},
                                   [this](fs::path const& file) { registered.push_back(file); }};
};

TEST_F(LinuxInstallationTest, knowsWhereProgramsBelong)
{
    ProgramPlaces const places = installation.places();

    EXPECT_EQ(places.program, program);
    EXPECT_EQ(places.applicationsPath, installedProgram);
    for (char const* const temporary :
         {"/media/", "/run/media/", "/mnt/", "/tmp/", "/var/tmp/", "/run/user/7/"})
        EXPECT_EQ(std::ranges::count(places.temporary, temporary), 1) << temporary;
    for (char const* const permanent : {"/usr/", "/opt/"})
        EXPECT_EQ(std::ranges::count(places.permanent, permanent), 1) << permanent;
}

TEST_F(LinuxInstallationTest, copiesTheProgramAndItsInformation)
{
    EXPECT_TRUE(installation.install());

    EXPECT_EQ(contentOf(installedProgram), content);
    EXPECT_EQ(contentOf(installedFolder / "Info.json"), R"({"CFBundleShortVersionString": "1.10"})");
    EXPECT_EQ(contentOf(program), content); // The source stays.
    EXPECT_EQ(installedFiles(), (std::vector<std::string>{"Info.json", "zelvo-agent"}));
    EXPECT_FALSE(fs::exists(data / "Trash"));
    EXPECT_EQ(installation.installedVersion(), "1.10");
}

TEST_F(LinuxInstallationTest, takesAPackagesInformation)
{
    fs::remove(program.parent_path() / "Info.json");
    writeFile(folder.path / "share" / "zelvo-agent" / "Info.json", R"({"ZelvoGatewayURL": "wss://here"})");

    EXPECT_TRUE(installation.install());

    EXPECT_EQ(contentOf(installedFolder / "Info.json"), R"({"ZelvoGatewayURL": "wss://here"})");
    EXPECT_EQ(installation.installedVersion(), std::nullopt);
}

TEST_F(LinuxInstallationTest, leavesNoInformationOfAnEarlierCopyBesideAProgramWithoutOne)
{
    installOlder();
    fs::remove(program.parent_path() / "Info.json");

    EXPECT_TRUE(installation.install());

    EXPECT_EQ(installedFiles(), (std::vector<std::string>{"zelvo-agent"}));
}

TEST_F(LinuxInstallationTest, isWritableByNobodyElse)
{
    mode_t const before = ::umask(0);
    fs::create_directories(installedFolder);
    ::chmod(installedFolder.c_str(), 0777);

    EXPECT_TRUE(installation.install());

    ::umask(before);
    EXPECT_EQ(modeOf(installedProgram), 0700U);
    EXPECT_EQ(modeOf(installedFolder / "Info.json"), 0600U);
    EXPECT_EQ(modeOf(installedFolder) & 0022U, 0U);
    EXPECT_EQ(modeOf(entry) & 0022U, 0U);
    EXPECT_EQ(modeOf(entry.parent_path()) & 0022U, 0U);
    EXPECT_EQ(modeOf(autostart) & 0022U, 0U);
    EXPECT_EQ(modeOf(autostart.parent_path()) & 0022U, 0U);
}

TEST_F(LinuxInstallationTest, tellsTheDesktop)
{
    EXPECT_TRUE(installation.install());

    std::string const command = "Exec=\"" + installedProgram.string() + "\"";
    EXPECT_NE(contentOf(entry).find(command + " %u\n"), std::string::npos);
    EXPECT_NE(contentOf(entry).find("MimeType=x-scheme-handler/zelvo;"), std::string::npos);
    EXPECT_NE(contentOf(autostart).find(command + "\n"), std::string::npos);
    EXPECT_EQ(contentOf(data / "icons/hicolor/128x128/apps/dev.zelvo.agent.png").substr(1, 3), "PNG");
    EXPECT_EQ(registered, std::vector<fs::path>{entry});
}

TEST_F(LinuxInstallationTest, putsAnEarlierCopyIntoTheTrash)
{
    installOlder();
    ASSERT_EQ(installation.installedVersion(), "1.9");

    EXPECT_TRUE(installation.install());

    EXPECT_EQ(contentOf(installedProgram), content);
    EXPECT_EQ(contentOf(inTrash("zelvo-agent")), "old program");
    EXPECT_EQ(contentOf(inTrash("Info.json")), R"({"CFBundleShortVersionString": "1.9"})");
    EXPECT_EQ(installation.installedVersion(), "1.10");
}

TEST_F(LinuxInstallationTest, changesNothingWhenTheEarlierCopyCannotBeTrashed)
{
    installOlder();
    writeFile(data / "Trash", "a file where the folder belongs");

    EXPECT_FALSE(installation.install());

    EXPECT_EQ(contentOf(installedProgram), "old program");
    EXPECT_EQ(installedFiles(), (std::vector<std::string>{"Info.json", "zelvo-agent"}));
    EXPECT_TRUE(registered.empty());
}

TEST_F(LinuxInstallationTest, changesNothingWhenTheProgramCannotBeRead)
{
    installOlder();
    fs::remove(program);

    EXPECT_FALSE(installation.install());

    EXPECT_EQ(contentOf(installedProgram), "old program");
    EXPECT_EQ(installedFiles(), (std::vector<std::string>{"Info.json", "zelvo-agent"}));
    EXPECT_FALSE(fs::exists(entry));
    EXPECT_FALSE(fs::exists(data / "Trash"));
}

TEST_F(LinuxInstallationTest, changesNothingWhenTheDesktopCannotBeTold)
{
    installOlder();
    writeFile(config / "autostart", "a file where the folder belongs");

    EXPECT_FALSE(installation.install());

    EXPECT_EQ(contentOf(installedProgram), "old program");
    EXPECT_EQ(installedFiles(), (std::vector<std::string>{"Info.json", "zelvo-agent"}));
}

TEST_F(LinuxInstallationTest, failsWhereItsFolderCannotBe)
{
    writeFile(installedFolder, "a file where the folder belongs");

    EXPECT_FALSE(installation.install());

    EXPECT_EQ(contentOf(installedFolder), "a file where the folder belongs");
}

TEST_F(LinuxInstallationTest, respectsAnAutostartThatThePersonSwitchedOff)
{
    writeFile(autostart, "[Desktop Entry]\nHidden=true\n");

    EXPECT_TRUE(installation.install());

    EXPECT_EQ(contentOf(autostart), "[Desktop Entry]\nHidden=true\n");
}

TEST_F(LinuxInstallationTest, replacesAnEarlierEntry)
{
    writeFile(entry, "[Desktop Entry]\nExec=/elsewhere\n");
    writeFile(autostart, "[Desktop Entry]\nExec=/elsewhere\n");

    EXPECT_TRUE(installation.install());

    EXPECT_EQ(contentOf(entry).find("elsewhere"), std::string::npos);
    EXPECT_EQ(contentOf(autostart).find("elsewhere"), std::string::npos);
}

TEST_F(LinuxInstallationTest, hasNoVersionWithoutAProgram)
{
    writeFile(installedFolder / "Info.json", R"({"CFBundleShortVersionString": "1.9"})");

    EXPECT_EQ(installation.installedVersion(), std::nullopt);
}

TEST_F(LinuxInstallationTest, hasNoVersionWithoutAReadableKey)
{
    writeFile(installedProgram, "program");
    EXPECT_EQ(installation.installedVersion(), std::nullopt);
    for (char const* const text : {"", "nonsense", "[]", R"({"CFBundleShortVersionString": 2})"}) {
        writeFile(installedFolder / "Info.json", text);
        EXPECT_EQ(installation.installedVersion(), std::nullopt) << text;
    }
}

TEST(RunningProgram, isThisOne)
{
    EXPECT_TRUE(fs::equivalent(runningProgram(), "/proc/self/exe"));
}

} // namespace
} // namespace zelvo
