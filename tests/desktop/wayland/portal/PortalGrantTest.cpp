#include "desktop/wayland/portal/ScriptedPortal.h"
#include "fakes/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using State = DesktopGrant::State;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(PortalGrant, asksNothingBeforeThePersonDoes)
{
    ScriptedPortal desktop;
    PortalClient client(desktop);

    client.grant->resume();
    settle(client.io);

    EXPECT_EQ(client.grant->state(), State::notAsked);
    EXPECT_EQ(desktop.calls(), "(@as [],)\n");
    EXPECT_THAT(client.states, ElementsAre());
}

TEST(PortalGrant, keepsTheTokenAndResumesWithoutADialog)
{
    ScriptedPortal desktop({"next=first"});
    PortalClient client(desktop);

    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_THAT(client.states, ElementsAre(State::asking, State::granted));
    EXPECT_EQ(client.token(), "machine\nfirst");
    EXPECT_EQ(desktop.dialogs(), 1);
    EXPECT_THAT(desktop.calls(), HasSubstr("RemoteDesktop.SelectDevices persist_mode types"));
    EXPECT_THAT(desktop.calls(), HasSubstr("'ScreenCast.SelectSources cursor_mode multiple types'"));

    desktop.set("token", "first");
    desktop.set("next", "second");
    client.restart();
    client.grant->resume();

    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_EQ(desktop.dialogs(), 1);
    EXPECT_EQ(client.token(), "machine\nsecond");
}

TEST(PortalGrant, dropsTheTokenOfAnotherMachine)
{
    ScriptedPortal desktop({"token=first"});
    PortalClient client(desktop);
    client.keep("other machine\nfirst");

    client.grant->resume();
    settle(client.io);

    EXPECT_EQ(client.grant->state(), State::notAsked);
    EXPECT_EQ(client.token(), std::nullopt);
    EXPECT_EQ(desktop.calls(), "(@as [],)\n");
}

TEST(PortalGrant, dropsATokenThatTheDesktopForgot)
{
    for (char const* token : {"unknown", "unfit"}) {
        ScriptedPortal desktop({"token=unfit"});
        PortalClient client(desktop);
        client.keep(std::string("machine\n") + token);

        client.grant->resume();
        runUntil(client.io, [&] { return !client.token(); });
        EXPECT_TRUE(client.reaches(State::notAsked));

        EXPECT_EQ(desktop.dialogs(), 0) << token;
    }
}

TEST(PortalGrant, canBeAskedAgainAfterARefusal)
{
    ScriptedPortal desktop({"answer=deny"});
    PortalClient client(desktop);

    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::refused));
    EXPECT_EQ(client.grant->session(), nullptr);

    desktop.set("answer", "end");
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::notAsked));

    desktop.set("answer", "allow");
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_EQ(desktop.dialogs(), 3);
}

TEST(PortalGrant, isPartlyWithoutInputAndAsksForTheRest)
{
    ScriptedPortal desktop({"answer=noInput", "next=partly", "token=partly"});
    PortalClient client(desktop);

    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::partly));
    EXPECT_FALSE(client.grant->session()->hasInput());
    ASSERT_EQ(client.grant->session()->streams().size(), 1U);
    EXPECT_EQ(client.grant->session()->streams()[0].node, 7U);

    desktop.set("answer", "allow");
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_EQ(desktop.dialogs(), 2) << "the token of what was granted in part must not be used";
}

TEST(PortalGrant, isWithdrawnAtOnceAndForgetsTheToken)
{
    ManualClock clock;
    ScriptedPortal desktop({"next=first", "token=first"});
    PortalClient client(desktop, &clock);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));

    desktop.withdraw();
    EXPECT_TRUE(client.reaches(State::withdrawn));

    EXPECT_EQ(client.grant->session(), nullptr);
    EXPECT_EQ(client.token(), "machine\nfirst") << "a desktop that shuts down also closes sessions";
    clock.advance(PortalGrant::withdrawalProof);
    settle(client.io);
    EXPECT_EQ(client.token(), std::nullopt);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_EQ(desktop.dialogs(), 2);
}

constexpr auto withdrawnMark = std::pair(PortalGrant::service, PortalGrant::withdrawnAccount);

TEST(PortalGrant, asksAgainAfterAWithdrawalThatTheProgramsEndCutShort)
{
    ManualClock clock;
    ScriptedPortal desktop({"next=first", "token=first"});
    PortalClient client(desktop, &clock);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    desktop.withdraw();
    EXPECT_TRUE(client.reaches(State::withdrawn));
    settle(client.io);
    EXPECT_TRUE(client.secrets.items.contains(withdrawnMark));

    client.restart();
    client.grant->resume();
    runUntil(client.io, [&] { return !client.token(); });
    settle(client.io);

    EXPECT_EQ(client.grant->state(), State::notAsked);
    EXPECT_TRUE(client.secrets.items.empty());
    EXPECT_EQ(desktop.dialogs(), 1);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_EQ(desktop.dialogs(), 2);
}

TEST(PortalGrant, keepsTheTokenWhenTheWholeDesktopEnds)
{
    ManualClock clock;
    ScriptedPortal desktop({"next=first", "token=first"});
    PortalClient client(desktop, &clock);
    bool isThere = true;
    client.grant->setSurroundings({.isDesktopThere = [&] { return isThere; }});
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    desktop.withdraw();
    EXPECT_TRUE(client.reaches(State::withdrawn));
    settle(client.io);
    ASSERT_TRUE(client.secrets.items.contains(withdrawnMark));

    isThere = false;
    clock.advance(PortalGrant::proofPace);
    settle(client.io);
    EXPECT_FALSE(client.secrets.items.contains(withdrawnMark));
    clock.advance(PortalGrant::withdrawalProof);
    settle(client.io);
    EXPECT_EQ(client.token(), "machine\nfirst");

    client.restart();
    client.grant->resume();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_EQ(desktop.dialogs(), 1);
}

TEST(PortalGrant, takesUpWhatALockOfTheScreenEnded)
{
    for (Duration const later : {Duration(0s), PortalGrant::lockProof}) {
        ManualClock clock;
        ScriptedPortal desktop({"next=first", "token=first"});
        PortalClient client(desktop, &clock);
        bool isLocked = later == 0s;
        client.grant->setSurroundings({.isLocked = [&] { return isLocked; }});
        client.grant->ask();
        EXPECT_TRUE(client.reaches(State::granted));

        desktop.withdraw();
        EXPECT_TRUE(client.reaches(isLocked ? State::notAsked : State::withdrawn));
        settle(client.io);
        isLocked = true;
        clock.advance(later);
        EXPECT_TRUE(client.reaches(State::notAsked));
        clock.advance(PortalGrant::withdrawalProof);
        settle(client.io);
        EXPECT_EQ(client.token(), "machine\nfirst");
        EXPECT_FALSE(client.secrets.items.contains(withdrawnMark));

        isLocked = false;
        client.grant->noteUnlock();
        EXPECT_TRUE(client.reaches(State::granted));
        EXPECT_EQ(desktop.dialogs(), 1);
    }
}

TEST(PortalGrant, isWithdrawnDespiteALaterLock)
{
    ManualClock clock;
    ScriptedPortal desktop({"next=first", "token=first"});
    PortalClient client(desktop, &clock);
    bool isLocked = false;
    client.grant->setSurroundings({.isLocked = [&] { return isLocked; }});
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    desktop.withdraw();
    EXPECT_TRUE(client.reaches(State::withdrawn));

    clock.advance(PortalGrant::lockProof + 1ms);
    isLocked = true;
    settle(client.io);
    clock.advance(PortalGrant::withdrawalProof);
    settle(client.io);

    EXPECT_EQ(client.token(), std::nullopt);
    client.grant->noteUnlock();
    settle(client.io);
    EXPECT_EQ(client.grant->state(), State::withdrawn);
}

TEST(PortalGrant, isWithdrawnWhenThePortalEnds)
{
    ScriptedPortal desktop;
    PortalClient client(desktop);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    auto const session = client.grant->session();

    desktop.endPortal();
    EXPECT_TRUE(client.reaches(State::withdrawn));
    EXPECT_FALSE(session->isOpen());

    desktop.startPortal();
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
}

TEST(PortalGrant, closesADialogThatNeverEnds)
{
    ManualClock clock;
    ScriptedPortal desktop({"answer=never"});
    PortalClient client(desktop, &clock);
    client.grant->ask();
    auto const isOpen = [&] {
        settle(client.io);
        return desktop.dialogs() == 1;
    };
    require("a dialog", isOpen);

    client.grant->ask();
    settle(client.io);
    clock.advance(PortalGrant::patience - 1s);
    settle(client.io);
    EXPECT_EQ(client.grant->state(), State::asking);
    EXPECT_EQ(desktop.dialogs(), 1);

    clock.advance(1s);
    EXPECT_TRUE(client.reaches(State::notAsked));
    auto const isClosed = [&] {
        settle(client.io);
        return desktop.calls().find("Request.Close") != std::string::npos;
    };
    EXPECT_TRUE(waitFor(isClosed));

    desktop.set("answer", "allow");
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
}

TEST(PortalGrant, givesUpAMethodThatNeverAnswers)
{
    for (char const* method : {"CreateSession", "SelectSources", "Start"}) {
        ManualClock clock;
        ScriptedPortal desktop({std::string("slow=") + method});
        PortalClient client(desktop, &clock);
        client.grant->ask();
        auto const isCalled = [&] {
            settle(client.io);
            return desktop.calls().find(method) != std::string::npos;
        };
        require(method, isCalled);
        EXPECT_EQ(client.grant->state(), State::asking);

        clock.advance(PortalRequests::callPatience);

        EXPECT_TRUE(client.reaches(State::notAsked)) << method;
    }
}

TEST(PortalGrant, believesOnlyThePortal)
{
    ScriptedPortal desktop({"answer=forged"});
    PortalClient client(desktop);

    client.grant->ask();

    EXPECT_TRUE(client.reaches(State::refused));
    EXPECT_THAT(client.states, ElementsAre(State::asking, State::refused));
}

TEST(PortalGrant, takesNothingFromABadAnswer)
{
    ScriptedPortal desktop({"answer=wrongTypes"});
    PortalClient client(desktop);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::refused)) << "there is no stream in it";

    desktop.set("answer", "noStreams");
    client.grant->ask();
    settle(client.io);
    EXPECT_TRUE(client.reaches(State::refused));

    desktop.set("answer", "badHandle");
    client.grant->ask();
    settle(client.io);
    EXPECT_TRUE(client.reaches(State::notAsked));
}

TEST(PortalGrant, boundsAHugeAnswer)
{
    ScriptedPortal desktop({"answer=huge"});
    PortalClient client(desktop);

    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));

    EXPECT_EQ(client.token(), std::nullopt);
    EXPECT_EQ(client.grant->session()->streams().size(), 32U);
    EXPECT_EQ(client.grant->session()->streams()[0], PortalStream{.node = 1});
}

TEST(PortalGrant, noticesASessionThatEndsWithItsAnswer)
{
    ScriptedPortal desktop({"answer=closed"});
    PortalClient client(desktop);

    client.grant->ask();

    auto const isOver = [&] {
        auto const state = client.grant->state();
        return !client.states.empty() && (state == State::notAsked || state == State::withdrawn);
    };
    runUntil(client.io, isOver);
    EXPECT_EQ(client.grant->session(), nullptr);
}

TEST(PortalGrant, isUnavailableWithoutPortals)
{
    ScriptedPortal desktop({"RemoteDesktop=0", "ScreenCast=0"});
    PortalClient client(desktop);

    client.grant->ask();

    EXPECT_TRUE(client.reaches(State::unavailable));
}

TEST(PortalGrant, doesNotPersistInputOfTheFirstVersion)
{
    ScriptedPortal desktop({"RemoteDesktop=1"});
    PortalClient client(desktop);
    client.keep("machine\nold");

    client.grant->ask();

    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_THAT(desktop.calls(), Not(HasSubstr("persist_mode")));
    EXPECT_THAT(desktop.calls(), Not(HasSubstr("restore_token")));
    EXPECT_EQ(client.token(), std::nullopt);
}

TEST(PortalGrant, persistsPicturesWithoutRemoteDesktop)
{
    ScriptedPortal desktop({"RemoteDesktop=0", "answer=noInput", "next=first", "token=first"});
    PortalClient client(desktop);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::partly));
    EXPECT_THAT(desktop.calls(),
                HasSubstr("ScreenCast.SelectSources cursor_mode multiple persist_mode types"));

    client.restart();
    client.grant->resume();

    EXPECT_TRUE(client.reaches(State::partly));
    EXPECT_EQ(desktop.dialogs(), 1);
}

TEST(PortalGrant, givesTheDescriptorOfThePictures)
{
    ScriptedPortal desktop({"Clipboard=1"});
    PortalClient client(desktop);
    client.grant->ask();
    EXPECT_TRUE(client.reaches(State::granted));
    EXPECT_THAT(desktop.calls(), HasSubstr("Clipboard.RequestClipboard"));

    auto const session = client.grant->session();
    auto const descriptor = runToEnd(client.io, session->openPipeWire());

    EXPECT_TRUE(descriptor);
    EXPECT_FALSE(runToEnd(client.io, session->connectToEis()));
}

} // namespace
} // namespace zelvo::test
