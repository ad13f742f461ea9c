#include "state/AgentStatus.h"

#include "base/LocalizedTexts.h"
#include "unit/state/AgentStateFixture.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvo {
namespace {

using Action = AgentStatus::Action;
using Mark = ZelvoMark::State;

class AgentStatusTest : public AgentStateTest {
protected:
    Permissions permissions{.accessibility = true, .screenRecording = true};

    void SetUp() override
    {
        state.startObserving();
        enter(Kind::connected);
    }
    UpdateSource updates = UpdateSource::itself;
    AgentStatus status() const { return AgentStatus::current(state, permissions, updates); }
    void become(Availability present)
    {
        platform.sessionEvents.present = present;
        state.refreshAvailability();
        if (present == Availability::asleep)
            platform.sessionEvents.tell(SessionEvent::willSleep);
    }
};

TEST_F(AgentStatusTest, saysThatTheLinkIsDown)
{
    retry("Nobody answers");

    EXPECT_EQ(status(), (AgentStatus{localized("status.offline"), *state.gateway().detail(updates),
                                     Mark::idle, true, Action::reconnectNow}));
    EXPECT_NE(status().detail.find("Nobody answers"), std::string::npos);
}

TEST_F(AgentStatusTest, saysWhatTheGatewayWants)
{
    enter(Kind::notLinked);
    EXPECT_EQ(status(), (AgentStatus{localized("status.notLinked"), localized("gateway.notLinked.detail"),
                                     Mark::idle, false, Action::connect}));
    enter(Kind::connecting);
    EXPECT_EQ(status(), (AgentStatus{localized("gateway.connecting"), "", Mark::idle, false, Action::none}));
    enter(Kind::tokenRejected);
    EXPECT_EQ(status(),
              (AgentStatus{localized("gateway.tokenRejected"), localized("gateway.tokenRejected.detail"),
                           Mark::idle, true, Action::relink}));
    enter(Kind::updateRequired);
    EXPECT_EQ(status(),
              (AgentStatus{localized("gateway.updateRequired"), localized("gateway.updateRequired.detail"),
                           Mark::idle, true, Action::update}));
}

TEST_F(AgentStatusTest, aPackagedProgramOffersNoUpdateButNamesThePackageManager)
{
    updates = UpdateSource::packageManager;
    enter(Kind::updateRequired);

    EXPECT_EQ(status(),
              (AgentStatus{localized("gateway.updateRequired"), localized("gateway.updateRequired.packaged"),
                           Mark::idle, true, Action::none}));
    EXPECT_EQ(status().actionTitle(), std::nullopt);
}

TEST_F(AgentStatusTest, aPauseIsNotSaidWhileTheLinkIsDown)
{
    state.setPaused(true);
    retry("Nobody answers");

    EXPECT_EQ(status().title, localized("status.offline"));
    EXPECT_EQ(status().action, Action::reconnectNow);
    EXPECT_EQ(status().mark, Mark::idle);
}

TEST_F(AgentStatusTest, aPauseIsSaidBeforeSleepAndLock)
{
    state.setPaused(true);
    for (Availability const present : {Availability::ready, Availability::asleep, Availability::screenLocked,
                                       Availability::noGUISession}) {
        become(present);
        EXPECT_EQ(status(), (AgentStatus{localized("status.paused"), localized("status.paused.detail"),
                                         Mark::paused, false, Action::resume}));
    }
}

TEST_F(AgentStatusTest, sleepAndLockAreNoProblemsAndOfferAPause)
{
    become(Availability::asleep);
    EXPECT_EQ(status(), (AgentStatus{localized("menu.status.asleep"), localized("status.asleep.detail"),
                                     Mark::idle, false, Action::pause}));
    become(Availability::noGUISession);
    EXPECT_EQ(status(), (AgentStatus{localized("menu.status.noSession"), localized("status.noSession.detail"),
                                     Mark::idle, false, Action::pause}));
    become(Availability::screenLocked);
    EXPECT_EQ(status(), (AgentStatus{localized("menu.status.locked"), localized("status.locked.detail"),
                                     Mark::idle, false, Action::pause}));
}

TEST_F(AgentStatusTest, missingPermissionsAreSaidOnlyWhenReady)
{
    permissions = {};
    become(Availability::screenLocked);
    EXPECT_EQ(status().title, localized("menu.status.locked"));

    become(Availability::ready);
    EXPECT_EQ(status(),
              (AgentStatus{localized("status.needsPermissions"), localized("status.needsPermissions.detail"),
                           Mark::idle, true, Action::permissions}));
}

TEST_F(AgentStatusTest, oneMissingPermissionIsSaidBeforeWork)
{
    state.markWorking();
    permissions.screenRecording = false;
    EXPECT_EQ(status().action, Action::permissions);
    permissions = {.accessibility = false, .screenRecording = true};
    EXPECT_EQ(status().action, Action::permissions);
}

TEST_F(AgentStatusTest, saysThatAnAgentWorks)
{
    state.markWorking();

    EXPECT_EQ(status(), (AgentStatus{localized("status.working"), localized("status.working.detail"),
                                     Mark::working, false, Action::pause}));
}

TEST_F(AgentStatusTest, saysWhoIsConnectedWhenReady)
{
    EXPECT_EQ(status(), (AgentStatus{localized("status.ready"), localized("status.ready.none"), Mark::idle,
                                     false, Action::pause}));
    state.grant(acme());
    EXPECT_EQ(status().detail, localized("status.ready.one", {"Acme"}));
    state.grant(acme("con_2", "Acme"));
    EXPECT_EQ(status().detail, localized("status.ready.many", {std::int64_t{2}}));
    EXPECT_EQ(status().title, localized("status.ready"));
    EXPECT_EQ(status().action, Action::pause);
}

TEST_F(AgentStatusTest, connectingOffersNothing)
{
    enter(Kind::connecting);

    EXPECT_EQ(status().actionTitle(), std::nullopt);
    EXPECT_FALSE(status().showsPauseShortcut());
}

TEST(AgentStatusAction, hasATitleAndThePauseKeyWhereItPausesOrResumes)
{
    std::set<std::string> titles;
    for (Action const action : {Action::pause, Action::resume, Action::reconnectNow, Action::relink,
                                Action::update, Action::connect, Action::permissions}) {
        AgentStatus const status{.action = action};
        ASSERT_TRUE(status.actionTitle());
        titles.insert(*status.actionTitle());
        EXPECT_EQ(status.showsPauseShortcut(), action == Action::pause || action == Action::resume);
    }
    EXPECT_EQ(titles.size(), 7u);
}

} // namespace
} // namespace zelvo
