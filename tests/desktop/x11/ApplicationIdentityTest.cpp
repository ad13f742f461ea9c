#include "platform/linux/applications/ApplicationIdentity.h"

#include "platform/linux/applications/DesktopEntries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

DesktopEntryIndex index()
{
    return DesktopEntryIndex({
        {.id = "org.xfce.mousepad", .name = "Mousepad", .executable = "/usr/bin/mousepad"},
        {.id = "org.xfce.mousepad-settings",
         .name = "Settings",
         .executable = "/usr/bin/mousepad",
         .noDisplay = true},
        {.id = "debian-xterm", .name = "XTerm", .startupWmClass = "XTerm", .executable = "/usr/bin/xterm"},
        {.id = "chromium", .name = "Web", .startupWmClass = "chromium", .executable = "/usr/bin/chromium"},
        {.id = "firefox_firefox", .name = "Firefox"},
        {.id = "dev.zelvo.agent", .name = "Zelvo", .startupWmClass = "liar"},
    });
}

std::vector<std::string> names(WindowWords words, ProcessFacts process = {})
{
    return applicationNames({std::move(words)}, process, index()).names;
}

TEST(ApplicationNames, beginWithTheApplicationsOwnWord)
{
    EXPECT_THAT(names({.gtkApplicationId = "org.gnome.Maps", .className = "Maps"}),
                ElementsAre("org.gnome.Maps", "Maps"));
    EXPECT_THAT(names({.kdeDesktopFile = "org.kde.kate.desktop", .className = "kate"}),
                ElementsAre("org.kde.kate", "kate"));
    EXPECT_THAT(names({.kdeDesktopFile = "/usr/share/applications/org.kde.kate.desktop"}),
                ElementsAre("org.kde.kate"));
    EXPECT_THAT(names({.className = "Firefox"}, {.confinedIds = {"firefox_firefox", "firefox"}}),
                ElementsAre("firefox_firefox", "firefox", "Firefox"));
}

/// They go into replies, which must be UTF-8 whatever a program calls itself.
TEST(ApplicationNames, areUtf8)
{
    WindowWords const words{.gtkApplicationId = "org.\xC3", .className = "Caf\xE9"};
    ProcessFacts const process{.executable = "/opt/\xFFtool"};

    EXPECT_THAT(names(words, process), ElementsAre("org.\uFFFD", "Caf\uFFFD", "\uFFFDtool"));
    EXPECT_EQ(localizedName({}, {words}, process, index()), "Caf\uFFFD");
    EXPECT_EQ(localizedName({}, {}, process, index()), "\uFFFDtool");
}

TEST(ApplicationNames, goOnWithStartupWmClass)
{
    EXPECT_THAT(names({.instance = "xterm", .className = "XTerm"}, {.executable = "/usr/bin/xterm"}),
                ElementsAre("debian-xterm", "XTerm", "xterm"));
    EXPECT_THAT(names({.instance = "chromium", .className = "Chromium"}),
                ElementsAre("chromium", "Chromium"));
}

TEST(ApplicationNames, goOnWithTheEntrysIdWithoutRegardToCase)
{
    EXPECT_THAT(names({.instance = "x", .className = "MOUSEPAD"}),
                ElementsAre("org.xfce.mousepad", "MOUSEPAD"));
    EXPECT_THAT(names({.instance = "Org.Xfce.Mousepad"}), ElementsAre("org.xfce.mousepad"));
}

TEST(ApplicationNames, goOnWithTheProgramOfAnEntry)
{
    EXPECT_THAT(names({.className = "Notes"}, {.executable = "/usr/bin/mousepad"}),
                ElementsAre("org.xfce.mousepad", "org.xfce.mousepad-settings", "Notes", "mousepad"));
}

TEST(ApplicationNames, endWithTheClassAndTheExecutablesName)
{
    EXPECT_THAT(
        names({.instance = "thing", .className = "Thing"}, {.executable = "/opt/thing/bin/thing-1.2"}),
        ElementsAre("Thing", "thing-1.2"));
    EXPECT_THAT(names({}, {.executable = "/opt/tool"}), ElementsAre("tool"));
    EXPECT_THAT(names({}, {.executable = "comm-only"}), ElementsAre("comm-only"));
    EXPECT_THAT(names({}), IsEmpty());
}

TEST(ApplicationNames, ofOneWindowJoinThoseOfItsProcess)
{
    std::vector<WindowWords> const words = {{.className = "Menu"}, {.className = "Mousepad"}};

    EXPECT_THAT(applicationNames(words, {.executable = "/usr/bin/x"}, index()).names,
                ElementsAre("Menu", "x", "org.xfce.mousepad", "Mousepad"));
}

TEST(ApplicationNames, ofAnotherProcessAreNeverOurs)
{
    EXPECT_THAT(names({.gtkApplicationId = "dev.zelvo.agent",
                       .kdeDesktopFile = "dev.zelvo.agent.desktop",
                       .instance = "liar",
                       .className = "dev.zelvo.agent"},
                      {.executable = "/tmp/dev.zelvo.agent", .confinedIds = {"dev.zelvo.agent"}}),
                IsEmpty());
}

TEST(LocalizedName, isTheEntrysNameElseTheClassElseTheProgram)
{
    auto const name = [](WindowWords words, ProcessFacts process) {
        auto const all = applicationNames({words}, process, index());
        return localizedName(all, {words}, process, index());
    };

    EXPECT_EQ(name({.className = "XTerm"}, {}), "XTerm");
    EXPECT_EQ(name({.className = "Chromium"}, {.executable = "/usr/bin/chromium"}), "Web");
    EXPECT_EQ(name({.className = "Thing"}, {.executable = "/opt/x"}), "Thing");
    EXPECT_EQ(name({}, {.executable = "/opt/x"}), "x");
}

TEST(ConfinedIds, areThoseOfFlatpakAndSnap)
{
    EXPECT_THAT(confinedIdsIn("0::/user.slice/app.slice/app-flatpak-org.gnome.Maps-4242.scope\n"),
                ElementsAre("org.gnome.Maps"));
    EXPECT_THAT(
        confinedIdsIn("0::/user.slice/snap.my-mail.my-app-0f53ab0e-1b5c-4d5e-8a43-6c32cf8b9f4b.scope\n"),
        ElementsAre("my-mail_my-app", "my-mail"));
    EXPECT_THAT(confinedIdsIn("0::/system.slice/snap.cups.cupsd.service\n"),
                ElementsAre("cups_cupsd", "cups"));
    EXPECT_THAT(confinedIdsIn("0::/init.scope\n"), IsEmpty());
}

TEST(ProcessFacts, tellTheProgramWithLinksResolved)
{
    EXPECT_EQ(readProcessFacts(::getpid()).executable, std::filesystem::canonical("/proc/self/exe"));
    EXPECT_EQ(readProcessFacts(0), ProcessFacts{});
    EXPECT_EQ(readProcessFacts(0x7fffffff).executable, "");
}

TEST(ProgramOfAnExecLine, isFoundOnPathAndIsNoInterpreter)
{
    auto const shell = std::filesystem::canonical("/bin/ls");
    EXPECT_EQ(programOf("ls %U"), shell);
    EXPECT_EQ(programOf("env A=b LANG=C /bin/ls -l"), shell);
    EXPECT_EQ(programOf("\"/bin/ls\" --x='a b'"), shell);
    EXPECT_EQ(programOf("sh -c 'ls'"), "");
    EXPECT_EQ(programOf("python3 /usr/share/x/x.py"), "");
    EXPECT_EQ(programOf("no-such-program-here"), "");
    EXPECT_EQ(programOf("\"unclosed"), "");
    EXPECT_EQ(programOf(""), "");
}

class EntriesInAFolder : public testing::Test {
protected:
    std::filesystem::path root;
    std::filesystem::path own() const { return root / "own"; }
    std::filesystem::path system() const { return root / "system"; }

    void SetUp() override
    {
        std::string pattern = "/tmp/zelvo-entries-XXXXXX";
        root = ::mkdtemp(pattern.data());
        std::filesystem::create_directories(system());
    }
    void TearDown() override { std::filesystem::remove_all(root); }

    void write(std::filesystem::path const& file, std::string const& lines)
    {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << "[Desktop Entry]\nType=Application\n" << lines;
    }
};

TEST_F(EntriesInAFolder, areReadAgainWhenAFolderChanges)
{
    write(system() / "one.desktop", "Name=One\nExec=ls\nStartupWMClass=Uno\n");
    DesktopEntries entries({own(), system()});
    auto const first = entries.current();
    ASSERT_TRUE(first->find("one"));
    EXPECT_EQ(first->find("one")->name, "One");
    EXPECT_THAT(first->withWmClass("Uno"), ElementsAre("one"));
    EXPECT_EQ(first->find("two"), nullptr);

    write(system() / "sub" / "two.desktop", "Name=Two\n");

    EXPECT_TRUE(entries.current()->find("sub-two"));
    EXPECT_FALSE(first->find("sub-two")); // What was handed out stands.

    write(own() / "three.desktop", "Name=Three\n"); // A folder that did not exist.

    EXPECT_TRUE(entries.current()->find("three"));
}

TEST_F(EntriesInAFolder, giveWayToThePersonsOwn)
{
    write(system() / "a.desktop", "Name=System\n");
    write(system() / "b.desktop", "Name=System\n");
    write(system() / "c.desktop", "Name=Link\nType=Link\n");
    write(own() / "a.desktop", "Name=Own\n");
    write(own() / "b.desktop", "Name=Own\nHidden=true\n");
    std::ofstream(system() / "d.desktop") << "not an entry";
    DesktopEntries entries({own(), system()});

    auto const found = entries.current();

    EXPECT_EQ(found->all().size(), 1u);
    ASSERT_TRUE(found->find("a"));
    EXPECT_EQ(found->find("a")->name, "Own");
}

TEST_F(EntriesInAFolder, haveIdsInUtf8WhateverTheirFilesAreCalled)
{
    write(system() / "caf\xE9.desktop", "Name[ru]=\nExec=ls\n");
    DesktopEntries entries({system()});

    ASSERT_EQ(entries.current()->all().size(), 1u);
    DesktopEntry const& entry = entries.current()->all().front();
    EXPECT_EQ(entry.id, "caf\uFFFD");
    EXPECT_EQ(entry.name, "caf\uFFFD");
    EXPECT_EQ(entry.file, system() / "caf\xE9.desktop");
}

TEST_F(EntriesInAFolder, haveTheirNameInTheDesktopsLanguage)
{
    write(system() / "a.desktop", "Name=Editor\nName[ru]=Редактор\n");
    ::setenv("LANGUAGE", "ru", 1);
    ::setenv("LANG", "ru_RU.UTF-8", 1);
    DesktopEntries entries({system()});

    EXPECT_EQ(entries.current()->find("a")->name, "Редактор");
}

} // namespace
} // namespace zelvo::test
