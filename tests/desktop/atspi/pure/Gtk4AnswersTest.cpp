#include "platform/linux/atspi/Gtk4Answers.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

AtspiNode corrected(AtspiNode node, AtspiQuestion question)
{
    correctGtk4Answer(node, question);
    return node;
}

TEST(Gtk4Answers, callWhatIsVisibleShowing)
{
    AtspiNode const node{.states = AtspiStates().add(AtspiState::visible).add(AtspiState::sensitive)};

    AtspiNode const after = corrected(node, AtspiQuestion::states);

    EXPECT_TRUE(after.has(AtspiState::showing));
    EXPECT_TRUE(after.has(AtspiState::enabled));
}

TEST(Gtk4Answers, leaveWhatIsHiddenOrGreyAsItIs)
{
    EXPECT_FALSE(corrected({.states = AtspiStates().add(AtspiState::sensitive)}, AtspiQuestion::states)
                     .has(AtspiState::showing));
    EXPECT_FALSE(corrected({.states = AtspiStates().add(AtspiState::visible)}, AtspiQuestion::states)
                     .has(AtspiState::enabled));
    EXPECT_EQ(corrected({}, AtspiQuestion::states).states, std::nullopt);
}

TEST(Gtk4Answers, haveNoClassesForNames)
{
    EXPECT_EQ(corrected({.name = "GtkPasswordEntry"}, AtspiQuestion::properties).name, std::nullopt);
    EXPECT_EQ(corrected({.name = "AdwHeaderBar"}, AtspiQuestion::name).name, std::nullopt);
    EXPECT_EQ(corrected({.name = "Gtk"}, AtspiQuestion::name).name, "Gtk");
    EXPECT_EQ(corrected({.name = "Gtk4 Demo"}, AtspiQuestion::name).name, "Gtk4 Demo");
    EXPECT_EQ(corrected({.name = "Gtkmm"}, AtspiQuestion::name).name, "Gtkmm");
    EXPECT_EQ(corrected({.name = "Save"}, AtspiQuestion::name).name, "Save");
}

} // namespace
} // namespace zelvo::test
