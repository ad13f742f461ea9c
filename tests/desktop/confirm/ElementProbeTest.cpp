// Compares the probe with a walk, on real applications.
#include "desktop/applications/Applications.h"
#include "desktop/confirm/ProbeFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <set>

namespace zelvo::test {
namespace {

using testing::IsEmpty;

DesktopPoint centerOf(UiElementInfo const& info)
{
    return DesktopRect{info.frame.x, info.frame.y, info.frame.w, info.frame.h}.center();
}

/// Whether the probed element is an element of a snapshot, by the rule that permits a click on it.
bool isSame(std::optional<ProbedElement> const& probed, UiElementInfo const& info)
{
    if (!probed || probed->role != info.role)
        return false;
    auto const filled = [](std::vector<std::optional<std::string>> const& texts) {
        std::set<std::string> kept;
        for (auto const& text : texts)
            if (text && !text->empty())
                kept.insert(*text);
        return kept;
    };
    auto const wanted = filled({info.title, info.elementDescription, info.identifier});
    auto const seen = filled({probed->title, probed->label, probed->identifier});
    return wanted.empty() ||
           std::ranges::any_of(wanted, [&](std::string const& text) { return seen.contains(text); });
}

class Probes : public testing::Test {
protected:
    PrivateDesktop desktop{{.height = 1200, .accessibility = true}};
    std::unique_ptr<ProbeFixture> fixture;
    pid_t pid = 0;

    void SetUp() override
    {
        desktop.adoptEnvironment();
        fixture = std::make_unique<ProbeFixture>();
    }

    void show(TestApplication const& application)
    {
        pid = desktop.start(application.command);
        desktop.waitForWindow(application.window);
    }

    void showFile(std::string const& name, std::string const& content) const
    {
        std::ofstream(desktop.home() / name) << content;
    }

    void click(DesktopPoint at)
    {
        desktop.run({"xdotool", "mousemove", std::to_string(static_cast<int>(at.x)),
                     std::to_string(static_cast<int>(at.y)), "click", "1"});
    }

    /// The elements that can be operated and whose centres no other application covers.
    std::vector<UiElementInfo> operable()
    {
        auto all = fixture->snapshot(pid, true);
        std::erase_if(all, [&](UiElementInfo const& info) { return !fixture->isOnTop(pid, centerOf(info)); });
        return all;
    }

    /// The first of them with that title; waits for it.
    UiElementInfo wait(std::string const& title)
    {
        std::optional<UiElementInfo> found;
        require("the element " + title, [&] {
            for (UiElementInfo const& info : operable())
                if (info.title == title && !found)
                    found = info;
            return found.has_value();
        });
        return *found;
    }

    /// Elements at whose centre the probe finds something else, one line each.
    std::vector<std::string> disagreements(std::set<std::string> const& exceptions)
    {
        std::vector<std::string> found;
        for (UiElementInfo const& info : operable()) {
            if (exceptions.contains(info.role + " " + info.title.value_or("")))
                continue;
            if (auto const seen = fixture->element(centerOf(info)); !isSame(seen, info))
                found.push_back(info.compactLine() + ": " + textOf(seen));
        }
        return found;
    }

    void expectAgreement(std::set<std::string> const& exceptions = {}, std::size_t least = 2)
    {
        std::vector<std::string> found;
        std::size_t count = 0;
        // A new window takes a moment to settle.
        waitFor(
            [&] {
                count = operable().size();
                found = disagreements(exceptions);
                return count >= least && found.empty();
            },
            20s);
        EXPECT_GE(count, least);
        EXPECT_THAT(found, IsEmpty());
    }

    /// Waits until the probe finds an element with that title there.
    std::optional<ProbedElement> seen(DesktopPoint at, std::string const& title)
    {
        std::optional<ProbedElement> probed;
        waitFor([&] {
            probed = fixture->element(at);
            return probed && probed->title == title;
        });
        return probed;
    }

    /// Opens a menu or list and expects the probe to find an item of it.
    void expectItem(std::string const& opener, std::string const& item)
    {
        click(centerOf(wait(opener)));
        UiElementInfo const info = wait(item);
        std::optional<ProbedElement> const probed = seen(centerOf(info), item);
        EXPECT_TRUE(isSame(probed, info)) << textOf(probed);
        EXPECT_EQ(info.role, "AXMenuItem");
    }

    std::optional<ProbedElement> focusOn(std::string const& role)
    {
        std::optional<ProbedElement> probed;
        waitFor([&] {
            probed = fixture->focused();
            return probed && probed->role == role;
        });
        return probed;
    }
};

#ifndef ZELVO_TEST_CHROMIUM

TestApplication zenity(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "zenity");
    return {std::move(arguments), {.className = "zenity"}};
}

TEST_F(Probes, agreeWithAWalkOfEveryRoleOfGtk3)
{
    show(form(desktop, Toolkit::gtk3));

    // The field of an editable list is at their common centre.
    expectAgreement({"AXPopUpButton one"}, 20);
}

TEST_F(Probes, agreeWithAWalkOfEveryRoleOfGtk4)
{
    show(form(desktop, Toolkit::gtk4));

    // Each of these contains a button without a name, which the probe reports as a part of it. Since GTK 4.18
    // that is a toggle button, and a menu button has one too.
    expectAgreement({"AXButton ", "AXCheckBox ", "AXButton Tool"}, 20);
}

TEST_F(Probes, agreeWithAWalkOfEveryRoleOfQt)
{
    show(form(desktop, Toolkit::qt));

    // The field of an editable list, as in GTK 3. Newer versions of Qt report the list as editable.
    expectAgreement({"AXPopUpButton one", "AXComboBox one"}, 20);
}

TEST_F(Probes, agreeWithAWalkOfAnEditor)
{
    showFile("letter.txt", "Dear reader,\n");
    show({{"mousepad", "--disable-server", desktop.home() / "letter.txt"}, {.className = "Mousepad"}});

    expectAgreement();
}

TEST_F(Probes, agreeWithAWalkOfAQuestion)
{
    show(zenity({"--question", "--text", "Delete all?"}));

    expectAgreement();
}

TEST_F(Probes, seeAButtonOfAQuestionInADialog)
{
    show(zenity({"--question", "--title", "Delete", "--text", "Delete all?"}));

    auto const probed = seen(centerOf(wait("Yes")), "Yes");

    ASSERT_TRUE(probed);
    EXPECT_EQ(probed->role, "AXButton");
    EXPECT_EQ(probed->windowSubrole, "AXDialog");
    EXPECT_TRUE(probed->appName);
    EXPECT_EQ(textOf(fixture->dialog()).find("AXWindow subrole='AXDialog' title='Delete'"), 0u)
        << textOf(fixture->dialog());
    EXPECT_EQ(focusOn("AXButton")->windowSubrole, "AXDialog");
}

TEST_F(Probes, seeAButtonOfAMessageOfQtInADialog)
{
    TestApplication application = form(desktop, Toolkit::qt);
    application.command.emplace_back("--question");
    application.window = {.title = "Qt question"};
    show(application);

    auto const probed = seen(centerOf(wait("Delete")), "Delete");

    ASSERT_TRUE(probed);
    EXPECT_EQ(probed->role, "AXButton");
    EXPECT_EQ(probed->windowSubrole, "AXDialog");
    EXPECT_EQ(textOf(fixture->dialog()).find("AXWindow subrole='AXDialog' title='Qt question'"), 0u)
        << textOf(fixture->dialog());
    EXPECT_EQ(focusOn("AXButton")->windowSubrole, "AXDialog");
}

TEST_F(Probes, seeAnItemInAnOpenMenuOfGtk3)
{
    show(form(desktop, Toolkit::gtk3));

    expectItem("File", "Open...");
}

TEST_F(Probes, seeAnItemInAnOpenMenuOfQt)
{
    show(form(desktop, Toolkit::qt));

    expectItem("File", "Open...");
}

TEST_F(Probes, seeAnItemInTheOpenMenuOfAButtonOfGtk3)
{
    show(form(desktop, Toolkit::gtk3));

    expectItem("Tool", "Tool item");
}

class ProbesOfFocus : public Probes, public testing::WithParamInterface<Toolkit> {};

TEST_P(ProbesOfFocus, seeTheFieldThatHasIt)
{
    show(form(desktop, GetParam()));
    UiElementInfo field;
    require("a text field", [&] {
        for (UiElementInfo const& info : operable())
            if (info.role == "AXTextField" && info.value == "typed text")
                field = info;
        return !field.role.empty();
    });

    click(centerOf(field));

    std::optional<ProbedElement> const probed = focusOn("AXTextField");
    EXPECT_TRUE(isSame(probed, field)) << textOf(probed);
    EXPECT_EQ(probed->windowSubrole, "AXStandardWindow");
    EXPECT_EQ(fixture->dialog(), std::nullopt);
}

TEST_P(ProbesOfFocus, seeAPasswordFieldAndNothingOfItsContent)
{
    show(form(desktop, GetParam()));
    UiElementInfo field;
    require("a password field", [&] {
        for (UiElementInfo const& info : operable())
            if (info.role == "AXSecureTextField")
                field = info;
        return !field.role.empty();
    });

    click(centerOf(field));

    std::optional<ProbedElement> const probed = focusOn("AXSecureTextField");
    ASSERT_TRUE(probed);
    EXPECT_EQ(probed->role, "AXSecureTextField");
    EXPECT_EQ(textOf(probed).find("secret"), std::string::npos);
}

std::string nameOf(testing::TestParamInfo<Toolkit> const& given)
{
    switch (given.param) {
    case Toolkit::gtk3:
        return "ofGtk3";
    case Toolkit::gtk4:
        return "ofGtk4";
    default:
        return "ofQt";
    }
}

INSTANTIATE_TEST_SUITE_P(Forms,
                         ProbesOfFocus,
                         testing::Values(Toolkit::gtk3, Toolkit::gtk4, Toolkit::qt),
                         nameOf);

TEST_F(Probes, giveUpAFrozenApplicationAtItsTimeOut)
{
    show(zenity({"--question", "--text", "Delete all?"}));
    DesktopPoint const at = centerOf(wait("Yes"));
    ::kill(pid, SIGSTOP);

    auto const start = std::chrono::steady_clock::now();
    auto const probed = fixture->element(at);
    auto const took = std::chrono::steady_clock::now() - start;

    ::kill(pid, SIGCONT);
    EXPECT_EQ(probed, std::nullopt);
    EXPECT_LT(took, 1s);
    EXPECT_TRUE(seen(at, "Yes"));
}

TEST_F(Probes, seeNothingOfAHiddenApplication)
{
    show(zenity({"--question", "--text", "Delete all?"}));
    DesktopPoint const at = centerOf(wait("Yes"));
    ASSERT_TRUE(seen(at, "Yes"));

    fixture->live.run(fixture->hiddenApps->add("zenity"));

    EXPECT_EQ(fixture->element(at), std::nullopt);
    EXPECT_EQ(fixture->dialog(), std::nullopt);
    EXPECT_EQ(fixture->focused(), std::nullopt);
}

TEST_F(Probes, seeNothingOfATerminalAndOfTheDesktop)
{
    show({{"xterm", "-geometry", "40x10+100+100"}, {.className = "XTerm"}});

    EXPECT_EQ(fixture->element({150, 170}), std::nullopt);
    EXPECT_EQ(fixture->element({1800, 1100}), std::nullopt);
}

#else

TestApplication page(PrivateDesktop const& desktop, std::string const& name, std::string const& content)
{
    auto const file = desktop.home() / (name + ".html");
    std::ofstream(file) << "<!doctype html><meta charset=utf-8><title>" << name << "</title>" << content;
    return {chromium(desktop, {"--window-position=0,0", "--window-size=800,700", "file://" + file.string()}),
            {.title = name}};
}

TEST_F(Probes, agreeWithAWalkOfAPage)
{
    show(form(desktop, Toolkit::chromium));
    std::set<std::string> exceptions = {
        "AXMenuItem red", // Items of a closed list.
    };
    // Chromium reports wrong places for elements in columns.
    for (int i = 0; i < 200; ++i)
        exceptions.insert("AXLink Link " + std::to_string(i));

    expectAgreement(exceptions, 50);
}

TEST_F(Probes, seePayInAPageOfASleepingChromiumAtTheFirstLook)
{
    show(page(desktop, "Shop",
              "<button id=pay style='position:fixed;inset:0;width:100%'><img alt='' style='width:90%;"
              "height:90%;background:green' src='data:image/gif;base64,R0lGODlhAQABAAAAACwAAAAAAQABAAA='>Pay"
              "</button>"));
    // The page must be on the screen, and nobody may have read an element yet.
    require("the window", [&] { return fixture->isOnTop(pid, {400, 400}); });

    std::optional<ProbedElement> const probed = fixture->element({400, 400});

    ASSERT_TRUE(probed);
    EXPECT_EQ(probed->role, "AXButton") << textOf(probed);
    EXPECT_EQ(probed->title, "Pay");
    EXPECT_EQ(probed->identifier, "pay");
    EXPECT_EQ(fixture->element({400, 400}), probed);
}

TEST_F(Probes, seeTheButtonOfAPageThatHasTheFocus)
{
    show(page(desktop, "Shop", "<input value=words><button id=pay autofocus>Pay</button>"));

    std::optional<ProbedElement> const probed = focusOn("AXButton");

    ASSERT_TRUE(probed);
    EXPECT_EQ(probed->title, "Pay");
    EXPECT_EQ(fixture->dialog(), std::nullopt);
}

#endif

} // namespace
} // namespace zelvo::test
