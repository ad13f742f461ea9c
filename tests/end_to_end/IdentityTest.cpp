#include "desktop/harness/PainterProcess.h"
#include "end_to_end/IdentityFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::ElementsAre;

TEST_F(Identity, ofATerminal)
{
    open({"xterm", "-T", "terminal"}, "terminal");
    expectKnown({.title = "terminal", .identifier = "debian-xterm", .names = {"XTerm", "xterm"}});
}

TEST_F(Identity, ofAPythonProgramWithoutAnEntry)
{
    TestApplication const program = swatches(desktop, Toolkit::gtk3);
    open(program.command, program.window.title);
    // "python3" would open an installed entry of that id, and Python has one.
    expectKnown(
        {.title = program.window.title, .identifier = "Gtk_swatches.py", .names = {"gtk_swatches.py"}});
    std::string const interpreter = std::filesystem::canonical("/usr/bin/python3").filename();
    expectHiddenBy({.title = program.window.title, .identifier = "Gtk_swatches.py"}, interpreter);
}

TEST_F(Identity, ofTwoWindowsOfOneApplication)
{
    entry("org.example.pair", "Name=Pair\nStartupWMClass=Pair\nExec=xterm\n");
    PainterProcess process(desktop);
    process.open({.x = 100, .y = 100, .width = 200, .title = "first", .className = "Pair"});
    process.open({.x = 400, .y = 100, .width = 200, .title = "second", .className = "Pair"});

    expectKnown({.title = "first", .identifier = "org.example.pair", .names = {"Pair"}, .hides = {"second"}});
    expectKnown({.title = "second", .identifier = "org.example.pair", .names = {"Pair"}, .hides = {"first"}});
    bringToFront("second");
    bringToFront("first");
    bringToFront("bystander");
    EXPECT_EQ(failureOf("apps.open", {{"bundleId", "org.example.pair"}}), "ok");
    EXPECT_TRUE(isInFront("first")); // The last active one.
}

/// A suite with two applications in its process.
class Suite : public Identity {
protected:
    void SetUp() override
    {
        Identity::SetUp();
        entry("org.example.text", "Name=Text\nStartupWMClass=suite-text\nExec=sh -c \"exec xterm\"\n");
        entry("org.example.table", "Name=Table\nStartupWMClass=suite-table\nExec=env A=b python3 -c pass\n");
        text = process->open({.x = 100, .y = 100, .width = 200, .title = "text", .className = "suite-text"});
        table =
            process->open({.x = 400, .y = 100, .width = 200, .title = "table", .className = "suite-table"});
        bringToFront("table");
    }
    /// The windows that are listed.
    std::vector<std::string> seen()
    {
        std::vector<std::string> titles;
        for (char const* const title : {"text", "table", "helper", "chooser"})
            if (!listed(title).empty())
                titles.emplace_back(title);
        return titles;
    }
    std::vector<std::string> seenWithout(std::string const& name)
    {
        hide({name});
        auto const left = seen();
        hide({});
        return left;
    }

    std::unique_ptr<PainterProcess> process = std::make_unique<PainterProcess>(desktop);
    std::uint32_t text = 0;
    std::uint32_t table = 0;
};

TEST_F(Suite, hasTwoIdentities)
{
    expectKnown({.title = "text",
                 .identifier = "org.example.text",
                 .names = {"suite-text"},
                 .siblings = {"org.example.table"}});
    expectKnown({.title = "table",
                 .identifier = "org.example.table",
                 .names = {"suite-table"},
                 .siblings = {"org.example.text"}});
    EXPECT_THAT(seenWithout("Suite-Text"), ElementsAre("table"));
    EXPECT_THAT(seenWithout("Suite-Table"), ElementsAre("text"));
}

TEST_F(Suite, givesADialogThatOfItsWindow)
{
    process->open({.x = 100,
                   .y = 400,
                   .width = 200,
                   .transientFor = text,
                   .title = "helper",
                   .className = "Suite",
                   .type = "_NET_WM_WINDOW_TYPE_DIALOG"});

    expectKnown({.title = "helper",
                 .identifier = "org.example.text",
                 .names = {"suite"},
                 .siblings = {"org.example.table"}});
    EXPECT_THAT(seenWithout("org.example.text"), ElementsAre("table"));
}

TEST_F(Suite, givesADialogWithoutAParentThatOfTheLastActiveWindow)
{
    process->open({.x = 100,
                   .y = 400,
                   .width = 200,
                   .title = "helper",
                   .className = "Suite",
                   .type = "_NET_WM_WINDOW_TYPE_DIALOG"});
    bringToFront("helper");

    EXPECT_EQ(identifierOf("helper"), "org.example.table");
    EXPECT_EQ(inFront(), "org.example.table");
    EXPECT_EQ(tree(connection).at("app").at("bundleId"), "org.example.table");
    hide({"org.example.text"});
    EXPECT_EQ(rows("org.example.table").size(), 1u); // Its other window is still there.
    // It could belong to either, so it is hidden with each of them.
    EXPECT_THAT(seenWithout("org.example.text"), ElementsAre("table"));
    EXPECT_THAT(seenWithout("org.example.table"), ElementsAre("text"));
}

TEST_F(Suite, readsNoElementsWhereTheProcessHoldsAHiddenApplication)
{
    hide({"org.example.text"});

    EXPECT_EQ(failureOf("ui.tree"), "hidden_app_active");
    EXPECT_EQ(failureOf("actions.perform", {{"actions", json::array{key({"a"})}}}),
              "ok"); // The other is in front.
}

TEST_F(Suite, hidesAnothersChooserWithIt)
{
    PainterProcess portal(desktop);
    portal.open(
        {.x = 100, .y = 400, .width = 200, .transientFor = text, .title = "chooser", .className = "Portal"});

    EXPECT_EQ(identifierOf("chooser"), "org.example.text");
    EXPECT_THAT(seenWithout("org.example.text"), ElementsAre("table"));
    EXPECT_THAT(seenWithout("portal"), ElementsAre("text", "table"));
}

/// The dialog's application is known by its process alone.
TEST_F(Suite, givesAnothersChooserThatOfADialogWithoutAParent)
{
    auto const dialog = process->open({.x = 100,
                                       .y = 400,
                                       .width = 200,
                                       .title = "helper",
                                       .className = "Suite",
                                       .type = "_NET_WM_WINDOW_TYPE_DIALOG"});
    PainterProcess portal(desktop);
    portal.open({.x = 400,
                 .y = 400,
                 .width = 200,
                 .transientFor = dialog,
                 .title = "chooser",
                 .className = "Portal"});

    EXPECT_EQ(identifierOf("helper"), "org.example.table");
    EXPECT_EQ(identifierOf("chooser"), "org.example.table");
    EXPECT_THAT(seenWithout("org.example.text"), ElementsAre("table"));
    EXPECT_THAT(seenWithout("org.example.table"), ElementsAre("text"));
}

TEST_F(Suite, followsWindowsThatChangeTheirWords)
{
    EXPECT_EQ(identifierOf("text"), "org.example.text");
    desktop.run({"xdotool", "search", "--name", "^text$", "set_window", "--class", "suite-table"});
    EXPECT_EQ(identifierOf("text"), "org.example.table");
    hide({"org.example.table"});
    EXPECT_THAT(seen(), ElementsAre());
}

/// Applications that claim to be another one.
class Lying : public Identity {};

TEST_F(Lying, nobodyElseIsThisProgram)
{
    PainterProcess liar(desktop);
    liar.open({.x = 100,
               .y = 100,
               .width = 200,
               .title = "liar",
               .instance = "DEV.ZELVO.AGENT",
               .className = "dev.zelvo.agent",
               .gtkApplicationId = "dev.zelvo.agent",
               .kdeDesktopFile = "dev.zelvo.agent.desktop"});
    bringToFront("liar");

    EXPECT_EQ(identifierOf("liar"), "painter_program");
    EXPECT_EQ(inFront(), "painter_program");
    EXPECT_EQ(failureOf("actions.perform",
                        {{"actions", json::array{key({"a"})}}, {"expectBundleId", "DEV.zelvo.agent"}}),
              "app_not_frontmost");
    EXPECT_EQ(failureOf("actions.perform", {{"actions", json::array{key({"a"})}}}), "ok");
}

TEST_F(Lying, aHiddenApplicationStaysHidden)
{
    entry("org.example.innocent", "Name=Innocent\nExec=xterm\n");
    PainterProcess liar(desktop);
    liar.open({.x = 100,
               .y = 100,
               .width = 200,
               .title = "liar",
               .className = "Secret",
               .gtkApplicationId = "org.example.innocent"});

    expectKnown(
        {.title = "liar", .identifier = "org.example.innocent", .names = {"secret", "painter_program"}});
}

TEST_F(Lying, aCircleOfDialogsEnds)
{
    PainterProcess process(desktop);
    auto const first =
        process.open({.x = 100, .y = 100, .width = 200, .title = "first", .className = "First"});
    auto const second = process.open(
        {.x = 400, .y = 100, .width = 200, .transientFor = first, .title = "second", .className = "Second"});
    makeTransient(first, second);
    EXPECT_EQ(identifierOf("first"), "First");
    EXPECT_EQ(identifierOf("second"), "Second");
    hide({"second"});
    EXPECT_TRUE(listed("first").empty());
    EXPECT_TRUE(listed("second").empty());
}

} // namespace
} // namespace zelvo::test
