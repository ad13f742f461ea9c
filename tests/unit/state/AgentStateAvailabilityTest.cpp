#include "base/LocalizedTexts.h"
#include "unit/state/AgentStateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST_F(AgentStateTest, recordsAndLogsAChangeOfAvailability)
{
    state.startObserving();
    platform.time.advance(7s);

    platform.sessionEvents.tell(SessionEvent::screenLocked);

    ASSERT_EQ(state.availabilityHistory().size(), 1u);
    AvailabilityChange const& change = state.availabilityHistory().front();
    EXPECT_EQ(change.id.size(), 36u);
    EXPECT_EQ(change.at, platform.time.date());
    EXPECT_EQ(change.from, Availability::ready);
    EXPECT_EQ(change.to, Availability::screenLocked);
    EXPECT_EQ(content("zelvo.availabilityHistory"), stored::encodeList(state.availabilityHistory()));
    EXPECT_EQ(withoutStamp(newest()),
              said(localized("activity.thisMac"),
                   ActivityWording::availability(Availability::ready, Availability::screenLocked),
                   ActivityKind::mac));
}

TEST_F(AgentStateTest, recordsNothingWhenTheAvailabilityStaysAsItIs)
{
    state.startObserving();

    state.refreshAvailability();
    platform.sessionEvents.tell(SessionEvent::didWake);

    EXPECT_TRUE(state.availabilityHistory().empty());
    EXPECT_TRUE(state.activity().empty());
}

TEST_F(AgentStateTest, takesSleepAndLockFromTheirEvents)
{
    state.startObserving();
    ASSERT_EQ(platform.sessionEvents.present, Availability::ready);

    platform.sessionEvents.tell(SessionEvent::willSleep);
    EXPECT_EQ(state.availability(), Availability::asleep);

    platform.sessionEvents.tell(SessionEvent::screenLocked);
    EXPECT_EQ(state.availability(), Availability::screenLocked);
}

TEST_F(AgentStateTest, readsTheSessionAtEveryOtherEvent)
{
    state.startObserving();
    for (SessionEvent const event : {SessionEvent::didWake, SessionEvent::sessionResignedActive,
                                     SessionEvent::sessionBecameActive, SessionEvent::screenUnlocked})
        for (Availability const present :
             {Availability::screenLocked, Availability::noGUISession, Availability::ready}) {
            platform.sessionEvents.present = present;
            platform.sessionEvents.tell(event);
            EXPECT_EQ(state.availability(), present);
        }
}

TEST_F(AgentStateTest, wakesOntoALockedScreenAndIsUnlockedLater)
{
    state.startObserving();
    platform.sessionEvents.tell(SessionEvent::willSleep);
    platform.sessionEvents.present = Availability::screenLocked;
    platform.sessionEvents.tell(SessionEvent::didWake);
    EXPECT_EQ(state.availability(), Availability::screenLocked);

    platform.sessionEvents.present = Availability::ready;
    platform.sessionEvents.tell(SessionEvent::screenUnlocked);

    EXPECT_EQ(state.availability(), Availability::ready);
    EXPECT_EQ(state.availabilityHistory().size(), 3u);
}

TEST_F(AgentStateTest, keepsFiftyChangesOfAvailability)
{
    state.startObserving();
    for (int i = 0; i < 51; ++i) {
        platform.time.advance(1s);
        platform.sessionEvents.present = i % 2 == 0 ? Availability::screenLocked : Availability::ready;
        state.refreshAvailability();
    }

    ASSERT_EQ(state.availabilityHistory().size(), 50u);
    EXPECT_EQ(state.availabilityHistory().front().at, platform.time.date());
    EXPECT_EQ(state.availabilityHistory().back().at, platform.time.date() - 49s);
    EXPECT_EQ(stored::decodeList<AvailabilityChange>(content("zelvo.availabilityHistory")),
              state.availabilityHistory());
}

} // namespace
} // namespace zelvo
