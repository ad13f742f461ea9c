#include "platform/linux/applications/ApplicationIdentity.h"

#include "platform/linux/applications/DesktopEntries.h"
#include "unit/system/TemporaryFolder.h"

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
        {.id = "thunar", .name = "Files", .executable = "/usr/bin/thunar"},
        {.id = "thunar-bulk-rename", .name = "Rename", .executable = "/usr/bin/thunar"},
        {.id = "office-writer",
         .name = "Writer",
         .startupWmClass = "office-writer",
         .executable = "/opt/office"},
        {.id = "office-calc", .name = "Calc", .startupWmClass = "office-calc", .executable = "/opt/office"},
        {.id = "org.example.Two", .name = "Two", .startupWmClass = "Shared"},
        {.id = "org.example.Three", .name = "Three", .startupWmClass = "Shared", .noDisplay = true},
        {.id = "python3.11", .name = "Python", .noDisplay = true},
        {.id = "dev.zelvo.agent", .name = "Zelvo", .startupWmClass = "liar", .executable = "/usr/bin/liar"},
    });
}

ApplicationIdentity identity(WindowWords words, ProcessFacts process = {})
{
    static DesktopEntryIndex const entries = index();
    return identifyApplication(words, process, entries);
}

std::vector<std::string> names(WindowWords words, ProcessFacts process = {})
{
    return identity(std::move(words), std::move(process)).names.names;
}

using Basis = ApplicationIdentity::Basis;

struct Case {
    std::string what;
    WindowWords words;
    ProcessFacts process;
    std::string identifier;
    Basis basis = Basis::entry;
};

std::vector<Case> const identifiers = {
    {"an entry whose id is the own word",
     {.gtkApplicationId = "org.xfce.mousepad", .className = "chromium"},
     {.executable = "/usr/bin/xterm"},
     "org.xfce.mousepad"},
    {"the same of another toolkit, with its end",
     {.kdeDesktopFile = "chromium.desktop", .className = "x"},
     {},
     "chromium"},
    {"the same with its path",
     {.kdeDesktopFile = "/usr/share/applications/chromium.desktop"},
     {},
     "chromium"},
    {"the same of a Snap",
     {.className = "Firefox"},
     {.confinedIds = {"firefox_firefox", "firefox"}},
     "firefox_firefox"},
    {"a word that names no entry never beats an entry",
     {.gtkApplicationId = "org.xfce.Thunar", .instance = "thunar", .className = "Thunar"},
     {.executable = "/usr/bin/thunar"},
     "thunar"},
    {"StartupWMClass is the class", {.instance = "x", .className = "XTerm"}, {}, "debian-xterm"},
    {"StartupWMClass is the instance", {.instance = "chromium", .className = "Chromium"}, {}, "chromium"},
    {"StartupWMClass before an id", {.instance = "thunar", .className = "XTerm"}, {}, "debian-xterm"},
    {"StartupWMClass minds the case of letters", {.className = "xterm"}, {}, "xterm", Basis::words},
    {"of one StartupWMClass that which menus show", {.className = "Shared"}, {}, "org.example.Two"},
    {"an id in another case of letters", {.instance = "Org.Xfce.Mousepad"}, {}, "org.xfce.mousepad"},
    {"the last part of an id", {.instance = "x", .className = "MOUSEPAD"}, {}, "org.xfce.mousepad"},
    {"an id that is the own word in another case",
     {.gtkApplicationId = "Org.Xfce.MousePad"},
     {},
     "org.xfce.mousepad"},
    {"the last part of an id is the own word", {.kdeDesktopFile = "mousepad"}, {}, "org.xfce.mousepad"},
    {"an id before the program", {.className = "chromium"}, {.executable = "/usr/bin/xterm"}, "chromium"},
    {"the program, settings that no menu shows left aside",
     {.className = "Notes"},
     {.executable = "/usr/bin/mousepad"},
     "org.xfce.mousepad"},
    {"a program of several entries",
     {.className = "Soffice"},
     {.executable = "/opt/office"},
     "office-calc",
     Basis::sharedProgram},
    {"words before a program of several",
     {.className = "office-writer"},
     {.executable = "/opt/office"},
     "office-writer"},
    {"no entry: the own word",
     {.gtkApplicationId = "org.gnome.Maps", .className = "Maps"},
     {.executable = "/opt/maps"},
     "org.gnome.Maps",
     Basis::words},
    {"no entry: the class",
     {.instance = "thing", .className = "Thing"},
     {.executable = "/opt/thing-1.2"},
     "Thing",
     Basis::words},
    {"no entry, no class: the program",
     {.instance = "thing"},
     {.executable = "/opt/thing-1.2"},
     "thing-1.2",
     Basis::program},
    {"a program that only has a name", {}, {.executable = "comm-only"}, "comm-only", Basis::program},
    {"an interpreter is not its own entry",
     {.className = "Script.py"},
     {.executable = "/usr/bin/python3.11"},
     "Script.py",
     Basis::words},
    {"a process without windows", {}, {.executable = "/usr/bin/thunar"}, "thunar", Basis::sharedProgram},
    {"nothing at all", {}, {}, "", Basis::nothing},
};

TEST(ApplicationIdentity, isDecidedInOneOrder)
{
    for (Case const& each : identifiers) {
        ApplicationIdentity const decided = identity(each.words, each.process);
        EXPECT_EQ(decided.names.identifier().value_or(""), each.identifier) << each.what;
        EXPECT_EQ(decided.basis, each.basis) << each.what;
        EXPECT_EQ(decided.entry ? decided.entry->id : "",
                  each.basis >= Basis::sharedProgram ? each.identifier : "")
            << each.what;
    }
}

TEST(ApplicationNames, areAllThatIsSaidAndTheEntriesThatItFinds)
{
    EXPECT_THAT(names({.gtkApplicationId = "org.xfce.Thunar", .instance = "thunar", .className = "Thunar"},
                      {.executable = "/usr/bin/thunar"}),
                ElementsAre("thunar", "thunar-bulk-rename", "org.xfce.Thunar", "Thunar"));
    EXPECT_THAT(names({.instance = "i", .className = "Shared"}, {.executable = "/opt/p"}),
                ElementsAre("org.example.Two", "org.example.Three", "Shared", "p", "i"));
    EXPECT_THAT(names({.className = "Firefox"}, {.confinedIds = {"firefox_firefox", "firefox"}}),
                ElementsAre("firefox_firefox", "firefox", "Firefox"));
    EXPECT_THAT(names({.instance = "thing", .className = "Thing"}, {.executable = "/opt/thing-1.2"}),
                ElementsAre("Thing", "thing-1.2", "thing"));
    EXPECT_THAT(names({}), IsEmpty());
}

/// A program must not escape hiding by changing its own word.
TEST(ApplicationNames, keepTheProgramsEntryWhateverTheApplicationSays)
{
    EXPECT_THAT(
        names({.gtkApplicationId = "chromium", .className = "thunar"}, {.executable = "/usr/bin/mousepad"}),
        ElementsAre("chromium", "thunar", "org.xfce.mousepad", "org.xfce.mousepad-settings", "mousepad"));
}

/// Names go into replies, which must be UTF-8 whatever a program calls itself.
TEST(ApplicationNames, areUtf8)
{
    WindowWords const words{.gtkApplicationId = "org.\xC3", .className = "Caf\xE9"};
    ProcessFacts const process{.executable = "/opt/\xFFtool"};

    EXPECT_THAT(names(words, process), ElementsAre("org.\uFFFD", "Caf\uFFFD", "\uFFFDtool"));
    EXPECT_EQ(identity(words, process).localizedName, "Caf\uFFFD");
    EXPECT_EQ(identity({}, process).localizedName, "\uFFFDtool");
}

/// Not in any letter case either, because agents may ask in any.
TEST(ApplicationNames, ofAnotherProcessAreNeverOurs)
{
    for (char const* const claimed : {"dev.zelvo.agent", "DEV.Zelvo.Agent"})
        EXPECT_THAT(names({.gtkApplicationId = claimed,
                           .kdeDesktopFile = std::string(claimed) + ".desktop",
                           .instance = "liar",
                           .className = claimed},
                          {.executable = std::string("/tmp/") + claimed, .confinedIds = {claimed}}),
                    ElementsAre("liar"));
    EXPECT_THAT(names({}, {.executable = "/usr/bin/liar"}), ElementsAre("liar"));
}

TEST(LocalizedName, isTheEntrysNameElseTheClassElseTheProgram)
{
    EXPECT_EQ(identity({.className = "XTerm"}).localizedName, "XTerm");
    EXPECT_EQ(identity({.className = "Chromium"}, {.executable = "/usr/bin/chromium"}).localizedName, "Web");
    EXPECT_EQ(identity({.className = "Thing"}, {.executable = "/opt/x"}).localizedName, "Thing");
    EXPECT_EQ(identity({}, {.executable = "/opt/x"}).localizedName, "x");
}

TEST(AskedFor, byAnyNameInAnyCaseOfLetters)
{
    ApplicationNames const thunar{{"thunar", "org.xfce.Thunar", "Thunar"}, {"portal"}};

    for (char const* const asked : {"thunar", "THUNAR", "ORG.XFCE.THUNAR", "org.xfce.thunar"})
        EXPECT_TRUE(thunar.answersTo(asked)) << asked;
    for (char const* const asked : {"", "thuna", "xfce", "portal"})
        EXPECT_FALSE(thunar.answersTo(asked)) << asked;
    EXPECT_TRUE((ApplicationNames{{"Ärger"}}.answersTo("äRGER")));
    EXPECT_FALSE(ApplicationNames{}.answersTo(""));
}

TEST(Hidden, withAnotherOnlyWhenAllWindowsAre)
{
    ApplicationNames joined{{"portal"}, {"keys", "mail"}};
    joined.join({{"portal", "Chooser"}, {"mail"}});

    EXPECT_EQ(joined, (ApplicationNames{{"portal", "Chooser"}, {"mail"}}));
}

TEST(Hidden, byAnyNameInAnyCaseOfLettersAndWithOthers)
{
    ApplicationNames const thunar{{"thunar", "org.xfce.Thunar"}, {"portal"}};

    for (char const* const hidden : {"thunar", "Thunar", "org.xfce.thunar", "Portal"})
        EXPECT_TRUE(thunar.isHidden({"a", hidden})) << hidden;
    EXPECT_FALSE(thunar.isHidden({"a", "", "xfce"}));
    EXPECT_FALSE(thunar.isHidden({}));
    EXPECT_EQ(thunar.identifier(), "thunar"); // Hidden or not.
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
    // Older systems have a line for each controller, some with the name alone.
    EXPECT_THAT(confinedIdsIn("12:freezer:/snap.firefox\n"
                              "5:pids:/user.slice/snap.firefox.firefox.0f53ab0e.scope\n"
                              "1:name=systemd:/user.slice/snap.firefox.firefox.0f53ab0e.scope\n"),
                ElementsAre("firefox_firefox", "firefox"));
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
    EXPECT_EQ(programOf("env -i -u HOME A=b ls"), shell);
    EXPECT_EQ(programOf("/usr/bin/env -C / --unset=HOME ls -u x"), shell);
    EXPECT_EQ(programOf("env"), "");
    EXPECT_EQ(programOf("env python3 x.py"), "");
    EXPECT_EQ(programOf("-u ls"), "");
    EXPECT_TRUE(isInterpreter("/usr/lib/electron25"));
    EXPECT_TRUE(isInterpreter("/usr/bin/wish8.6"));
    EXPECT_TRUE(isInterpreter("/usr/bin/java"));
    EXPECT_FALSE(isInterpreter("/usr/bin/luakit"));
    EXPECT_EQ(programOf("sh -c 'ls'"), "");
    EXPECT_EQ(programOf("python3 /usr/share/x/x.py"), "");
    EXPECT_EQ(programOf("no-such-program-here"), "");
    EXPECT_EQ(programOf("\"unclosed"), "");
    EXPECT_EQ(programOf(""), "");
}

/// They lead to a program of another name, or have a version in theirs.
TEST(ProgramOfAnExecLine, isNoInterpreterOrLauncherUnderAnotherName)
{
    for (char const* const name :
         {"ruby3.1", "mono-sgen", "love-11.4", "node-20", "luajit", "pypy3", "gapplication", "steam"})
        EXPECT_TRUE(isInterpreter(std::filesystem::path("/usr/bin") / name)) << name;
    for (char const* const name : {"snap-store", "monodevelop", "lovely", "steamtinkerlaunch", "nodes"})
        EXPECT_FALSE(isInterpreter(std::filesystem::path("/usr/bin") / name)) << name;

    TemporaryFolder const temporary;
    std::filesystem::path const& folder = temporary.path;
    std::ofstream(folder / "some-terminal") << "#!/bin/sh\n";
    std::filesystem::create_symlink("some-terminal", folder / "x-terminal-emulator");
    EXPECT_EQ(programOf((folder / "x-terminal-emulator").string() + " -e mc"), "");
    EXPECT_EQ(programOf((folder / "some-terminal").string()), folder / "some-terminal");
}

class EntriesInAFolder : public testing::Test {
protected:
    TemporaryFolder temporary;
    std::filesystem::path const& root = temporary.path;
    std::filesystem::path own() const { return root / "own"; }
    std::filesystem::path system() const { return root / "system"; }

    void SetUp() override { std::filesystem::create_directories(system()); }

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
