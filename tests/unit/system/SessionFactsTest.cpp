#include "platform/linux/dbus/SessionFacts.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

using enum SessionEvent;
using Events = std::vector<SessionEvent>;

constexpr LoginFacts open{.isActive = true, .isLocked = false};
constexpr LoginFacts locked{.isActive = true, .isLocked = true};
constexpr LoginFacts away{.isActive = false, .isLocked = false};

TEST(SessionFacts, comeToAnAvailability)
{
    EXPECT_EQ(availabilityOf({.login = open}, false), Availability::ready);
    EXPECT_EQ(availabilityOf({.login = away}, true), Availability::noGUISession);
    EXPECT_EQ(availabilityOf({.login = locked}, true), Availability::screenLocked);
    EXPECT_EQ(availabilityOf({.login = LoginFacts{.isActive = false, .isLocked = true}}, true),
              Availability::screenLocked);
    EXPECT_EQ(availabilityOf({.login = open, .activeSavers = {"a"}}, true), Availability::screenLocked);
    EXPECT_EQ(availabilityOf({}, true), Availability::ready);
    EXPECT_EQ(availabilityOf({}, false), Availability::noGUISession);
    EXPECT_EQ(availabilityOf({.activeSavers = {"a"}}, false), Availability::screenLocked);
}

TEST(SessionFacts, tellOnlyWhatChanges)
{
    EXPECT_EQ(eventsBetween({.login = open}, {.login = open}, true), Events{});
    EXPECT_EQ(eventsBetween({.login = open}, {.login = locked}, true), Events{screenLocked});
    EXPECT_EQ(eventsBetween({.login = locked}, {.login = open}, true), Events{screenUnlocked});
    EXPECT_EQ(eventsBetween({.login = locked}, {.login = locked, .activeSavers = {"a"}}, true), Events{});
    EXPECT_EQ(
        eventsBetween({.login = locked, .activeSavers = {"a"}}, {.login = open, .activeSavers = {"a"}}, true),
        Events{});
    EXPECT_EQ(eventsBetween({.activeSavers = {"a", "b"}}, {.activeSavers = {"b"}}, true), Events{});
    EXPECT_EQ(eventsBetween({.login = open}, {.login = away}, true), Events{sessionResignedActive});
    EXPECT_EQ(eventsBetween({.login = away}, {.login = locked}, true),
              (Events{sessionBecameActive, screenLocked}));
}

TEST(SessionFacts, compareASessionWithTheFallback)
{
    EXPECT_EQ(eventsBetween({}, {.login = open}, true), Events{});
    EXPECT_EQ(eventsBetween({}, {.login = away}, true), Events{sessionResignedActive});
    EXPECT_EQ(eventsBetween({.login = away}, {}, true), Events{sessionBecameActive});
    EXPECT_EQ(eventsBetween({.login = away}, {}, false), Events{});
    EXPECT_EQ(eventsBetween({.login = locked}, {}, true), Events{screenUnlocked});
}

TEST(SessionFacts, readDisplayNames)
{
    EXPECT_EQ(displayOf(":0"), ":0");
    EXPECT_EQ(displayOf(":12.0"), ":12");
    EXPECT_EQ(displayOf("unix:1"), ":1");
    EXPECT_EQ(displayOf("localhost:10.0"), ":10");
    EXPECT_EQ(displayOf("far.example:1.0"), "far.example:1");
    for (char const* const text : {"", ":", "0", ":a", ":.0", "wayland-0"})
        EXPECT_EQ(displayOf(text), "") << text;
}

TEST(SessionFacts, knowsTheSessionOfAnXServerByItsDisplay)
{
    OwnSession const own{.display = ":1"};
    LoginCandidate const ours{.display = ":1", .type = "x11", .isOurs = true};
    LoginCandidate ending = ours;
    ending.isEnding = true;
    LoginCandidate others = ours;
    others.isOurs = false;

    EXPECT_GT(rankOf(ours, own), rankOf(others, own));
    EXPECT_GT(rankOf(others, own), rankOf(ending, own));
    EXPECT_GE(rankOf(ending, own), 0);
    EXPECT_LT(rankOf({.display = ":2", .isOurs = true}, own), 0);
    EXPECT_LT(rankOf({.isOurs = true}, OwnSession{}), 0);
}

TEST(SessionFacts, knowsAWaylandSessionByItsIdThenByBeingActive)
{
    OwnSession const own{.isWayland = true, .id = "5"};
    LoginCandidate const named{.id = "5", .type = "wayland", .isOurs = true};
    LoginCandidate active{.id = "6", .type = "wayland", .isActive = true, .isOurs = true};
    LoginCandidate const idle{.id = "7", .type = "wayland", .isOurs = true};

    EXPECT_GT(rankOf(named, own), rankOf(active, own));
    EXPECT_GT(rankOf(active, own), rankOf(idle, own));
    EXPECT_GE(rankOf(idle, own), 0);
    EXPECT_LT(rankOf({.id = "8", .type = "tty", .isOurs = true}, own), 0);
    active.isOurs = false;
    EXPECT_LT(rankOf(active, own), 0);
}

} // namespace

} // namespace zelvo
