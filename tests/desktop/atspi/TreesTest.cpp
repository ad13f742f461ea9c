// Compares our reader with an independent one on real applications.
#include "desktop/atspi/TreeComparison.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <fstream>

namespace zelvo::test {
namespace {

using testing::IsEmpty;

using Trees = TreeComparison;

Subject formOf(PrivateDesktop const& desktop, Toolkit toolkit)
{
    return {
        .name = "form", .application = form(desktop, toolkit), .isChromium = toolkit == Toolkit::chromium};
}

#ifndef ZELVO_TEST_CHROMIUM

Subject zenity(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "zenity");
    return {.name = "zenity", .application = {std::move(arguments), {.className = "zenity"}}};
}

TEST_F(Trees, areTheSameOfAnEditor)
{
    std::ofstream(desktop.home() / "letter.txt") << "Dear reader,\nthis is it.\n";
    expectSame({.name = "editor",
                .application = {{"mousepad", "--disable-server", desktop.home() / "letter.txt"},
                                {.className = "Mousepad"}}});
}

TEST_F(Trees, haveTheTextAndTheMenuBarOfAnEditor)
{
    auto const file = desktop.home() / "note.txt";
    std::ofstream(file) << "A line of text.\n";
    show({.name = "editor",
          .application = {{"mousepad", "--disable-server", file}, {.className = "Mousepad"}}});

    std::optional<std::string> text;
    waitFor([&] {
        for (WalkedElement const& one : ours(false))
            if (one.role == "AXTextArea")
                text = one.value;
        return text.has_value();
    });

    EXPECT_EQ(text, "A line of text.\n");
    auto const reader = fixture.accessibility->reader(pid, 1s);
    EXPECT_TRUE(reader->element(reader->application(), AccessibilityAttribute::focusedWindow));
    EXPECT_TRUE(reader->element(reader->application(), AccessibilityAttribute::menuBar));
}

class TreesOfForms : public Trees, public testing::WithParamInterface<Toolkit> {};

TEST_P(TreesOfForms, doNotHaveThePassword)
{
    show(formOf(desktop, GetParam()));

    std::vector<WalkedElement> seen;
    auto const isSecret = [](WalkedElement const& one) {
        return one.role == "AXSecureTextField" && one.size;
    };
    waitFor([&] { return std::ranges::any_of(seen = ours(false), isSecret); });

    EXPECT_TRUE(std::ranges::any_of(seen, isSecret));
    for (WalkedElement const& one : seen)
        EXPECT_EQ(one.value.value_or("").find("secret"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(, TreesOfForms, testing::Values(Toolkit::gtk3, Toolkit::gtk4, Toolkit::qt));

TEST_F(Trees, areTheSameOfAnEntry)
{
    expectSame(zenity({"--entry", "--text", "Your name", "--entry-text", "abc"}));
}

TEST_F(Trees, areTheSameOfAPassword)
{
    expectSame(zenity({"--password", "--username"}));
}

TEST_F(Trees, areTheSameOfAQuestion)
{
    expectSame(zenity({"--question", "--text", "Really?"}));
}

TEST_F(Trees, areTheSameOfAList)
{
    expectSame(zenity(
        {"--list", "--checklist", "--column", "Take", "--column", "What", "TRUE", "ham", "FALSE", "eggs"}));
}

TEST_F(Trees, areTheSameOfEveryRoleOfQt)
{
    expectSame(formOf(desktop, Toolkit::qt));
}

TEST_F(Trees, areTheSameOfEveryRoleOfGtk3)
{
    expectSame(formOf(desktop, Toolkit::gtk3));
}

TEST_F(Trees, areTheSameOfEveryRoleOfGtk4)
{
    expectSame(formOf(desktop, Toolkit::gtk4));
}

TEST_F(Trees, areNotThereOfATerminal)
{
    std::atomic<int> notices = 0;
    std::atomic<pid_t> about = 0;
    fixture.accessibility->observeUnreadable([&](std::int32_t process) {
        about = process;
        ++notices;
    });
    show({.name = "terminal", .application = {{"xterm"}, {.className = "XTerm"}}});

    EXPECT_TRUE(waitFor([&] {
        EXPECT_THAT(ours(false), IsEmpty());
        return notices > 0;
    }));
    EXPECT_THAT(ours(false), IsEmpty());
    EXPECT_FALSE(waitFor([&] { return notices > 1; }, 200ms));
    EXPECT_EQ(about, pid);
}

#else

TEST_F(Trees, areTheSameOfEveryFieldOfAPage)
{
    expectSame(formOf(desktop, Toolkit::chromium));
}

#endif

} // namespace
} // namespace zelvo::test
