#include "platform/linux/applications/ApplicationSearch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::IsSupersetOf;

DesktopEntry entry(std::string id, std::string name, std::size_t folder = 1, std::string plainName = {})
{
    DesktopEntry made{
        .id = std::move(id), .name = std::move(name), .plainName = std::move(plainName), .folder = folder};
    made.file = "/folder" + std::to_string(folder) + "/" + made.id + ".desktop";
    return made;
}

DesktopEntryIndex index()
{
    DesktopEntry hidden = entry("a.helper", "Notes");
    hidden.noDisplay = true;
    return DesktopEntryIndex({
        entry("org.xfce.mousepad", "Правка", 1, "Mousepad"),
        entry("files", "Terminal"),
        entry("org.example.files", "Files"),
        entry("terminal", "Files manager"),
        entry("org.example.Notes", "Notes"),
        entry("com.example.Notes2", "Notes", 2),
        entry("late.Player", "Player", 2),
        entry("early.Other", "Other", 0),
        entry("early.Player", "Film", 0),
        entry("tool.app", "Tool"),
        entry("short", "Twice"),
        entry("longer", "Twice"),
        hidden,
    });
}

struct Asked {
    std::string text;
    std::string found; ///< an id; empty: nothing
};

TEST(ApplicationSearch, findsByName)
{
    auto const entries = index();
    for (Asked const& asked : std::vector<Asked>{
             {"Правка", "org.xfce.mousepad"},
             {"Mousepad", "org.xfce.mousepad"},
             {"mousepad", "org.xfce.mousepad"},
             {"org.xfce.mousepad", "org.xfce.mousepad"},
             {"Mousepad.app", "org.xfce.mousepad"},
             {"mousepad.desktop", "org.xfce.mousepad"},
             {"org.xfce.mousepad.desktop", "org.xfce.mousepad"},
             {"org.xfce.mousepad.app", "org.xfce.mousepad"},
             {"Files", "org.example.files"},
             {"files", "files"},    // An id goes before the last part of another one.
             {"Terminal", "files"}, // A name goes before an id.
             {"terminal", "terminal"},
             {"Notes", "org.example.Notes"}, // Of the first folder, and one that menus show.
             {"Notes2", "com.example.Notes2"},
             {"Player", "early.Player"}, // The first folder, though the name stands in another one.
             {"Film", "early.Player"},
             {"Twice", "short"},
             {"tool.app", "tool.app"},
             {"Tool", "tool.app"},
             // Only running applications are found regardless of case, and the ending must match exactly.
             {"MOUSEPAD", ""},
             {"правка", ""},
             {"Mousepad.APP", ""},
             {"Mousepad.app.app", ""},
             {"xfce", ""},
             {"Mouse", ""},
             {" Mousepad", ""},
             {".app", ""},
             {".desktop", ""},
             {"", ""},
             {"../mousepad", ""},
         }) {
        DesktopEntry const* const found = entryNamed(entries, asked.text);
        EXPECT_EQ(found ? found->id : "", asked.found) << asked.text;
    }
}

TEST(ApplicationSearch, findsByIdentifier)
{
    auto const entries = index();
    for (Asked const& asked : std::vector<Asked>{
             {"org.xfce.mousepad", "org.xfce.mousepad"},
             {"org.xfce.mousepad.desktop", "org.xfce.mousepad"},
             {"a.helper", "a.helper"},
             {"tool.app", "tool.app"},
             {"mousepad", ""},
             {"Mousepad", ""},
             {"org.xfce.Mousepad", ""},
             {"org.xfce.mousepad.app", ""},
             {"", ""},
             {".desktop", ""},
         }) {
        DesktopEntry const* const found = entryWithId(entries, asked.text);
        EXPECT_EQ(found ? found->id : "", asked.found) << asked.text;
    }
}

RunningApplication running(std::vector<std::string> names, std::string location)
{
    RunningApplication made{.pid = 1, .names = {std::move(names)}};
    made.location = std::move(location);
    return made;
}

TEST(ApplicationSearch, findsWhatIsAskedForByAnyName)
{
    DesktopEntryIndex const entries({
        {.id = "office-calc",
         .name = "Calc",
         .startupWmClass = "office-calc",
         .executable = "/opt/office",
         .file = "calc"},
        {.id = "office-writer", .name = "Writer", .executable = "/opt/office", .file = "writer"},
        {.id = "thunar", .name = "Files", .executable = "/usr/bin/thunar", .file = "thunar"},
        {.id = "shut",
         .name = "Shut",
         .startupWmClass = "Shut-Class",
         .executable = "/opt/closed",
         .file = "shut"},
    });
    std::vector<RunningApplication> const windows = {
        running({"script.py", "python3"}, "running:script.py"),
        running({"office-writer", "office-calc", "Soffice"}, "writer"),
        running({"thunar", "org.xfce.Thunar", "script.PY"}, "thunar"),
    };
    for (Asked const& asked : std::vector<Asked>{
             {"office-calc",
              "calc"}, // It has an entry, though another application that runs has this name too.
             {"office-calc.desktop", "calc"},
             {"OFFICE-CALC", "calc"},
             {"Office-Writer", "writer"},
             {"soffice", "writer"},
             {"ORG.XFCE.thunar", "thunar"},
             {"org.xfce.Thunar.desktop", "thunar"},
             {"Script.py", "running:script.py"}, // An identifier before another name.
             {"PYTHON3", "running:script.py"},
             {"shut-class", "shut"},
             {"Closed", "shut"},
             {"nobody", ""},
             {"", ""},
         })
        EXPECT_EQ(locationOf(asked.text, entries, windows).value_or(""), asked.found) << asked.text;
}

TEST(ApplicationSearch, findsByFile)
{
    auto const entries = index();

    ASSERT_TRUE(entryAt(entries, "/folder2/late.Player.desktop"));
    EXPECT_EQ(entryAt(entries, "/folder2/late.Player.desktop")->id, "late.Player");
    EXPECT_EQ(entryAt(entries, "/folder1/late.Player.desktop"), nullptr);
    EXPECT_EQ(entryAt(entries, ""), nullptr);
}

TEST(ApplicationSearch, tellsAllNamesOfAnEntry)
{
    DesktopEntryIndex const entries({
        {.id = "web.page", .name = "Page", .startupWmClass = "Page-Class", .executable = "/usr/bin/web"},
        {.id = "web", .name = "Web", .executable = "/usr/bin/web"},
        {.id = "other", .name = "Other", .startupWmClass = "Page-Class"},
        {.id = "dev.zelvo.agent", .name = "Zelvo", .executable = "/usr/bin/zelvo-agent"},
    });

    ApplicationNames const names = namesOfEntry(*entries.find("web.page"), entries);
    EXPECT_EQ(names.names.front(), "web.page");
    EXPECT_THAT(names.names, IsSupersetOf({"web", "other", "Page-Class"}));
    EXPECT_TRUE(names.isHidden({"web"}));
    EXPECT_TRUE(names.isHidden({"page"})); // A window that calls itself that would be the entry's.
    EXPECT_FALSE(names.isHidden({"nobody"}));
    EXPECT_EQ(namesOfEntry(*entries.find("dev.zelvo.agent"), entries).names.front(), "dev.zelvo.agent");
}

} // namespace
} // namespace zelvo::test
