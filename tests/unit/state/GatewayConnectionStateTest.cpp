#include "state/GatewayConnectionState.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using State = GatewayConnectionState;
using Kind = State::Kind;

Date const at = *dates::parseIso8601("2026-11-21T02:00:00.000Z");

TEST(GatewayConnectionState, isNotLinkedAtFirst)
{
    EXPECT_EQ(State(), State::of(Kind::notLinked));
}

TEST(GatewayConnectionState, hasATitleForEachState)
{
    EXPECT_EQ(State::retrying("r", at).title(), localized("gateway.retrying"));
    EXPECT_EQ(State::of(Kind::notLinked).title(), localized("gateway.notLinked"));
    EXPECT_EQ(State::of(Kind::connecting).title(), localized("gateway.connecting"));
    EXPECT_EQ(State::of(Kind::connected).title(), localized("gateway.connected"));
    EXPECT_EQ(State::of(Kind::tokenRejected).title(), localized("gateway.tokenRejected"));
    EXPECT_EQ(State::of(Kind::updateRequired).title(), localized("gateway.updateRequired"));
}

TEST(GatewayConnectionState, hasADetailUnlessTheLinkIsUpOrComing)
{
    EXPECT_EQ(State::of(Kind::notLinked).detail(UpdateSource::itself), localized("gateway.notLinked.detail"));
    EXPECT_EQ(State::of(Kind::tokenRejected).detail(UpdateSource::itself),
              localized("gateway.tokenRejected.detail"));
    EXPECT_EQ(State::of(Kind::updateRequired).detail(UpdateSource::itself),
              localized("gateway.updateRequired.detail"));
    EXPECT_EQ(State::of(Kind::updateRequired).detail(UpdateSource::packageManager),
              localized("gateway.updateRequired.packaged"));
    EXPECT_FALSE(State::of(Kind::connecting).detail(UpdateSource::itself));
    EXPECT_FALSE(State::of(Kind::connected).detail(UpdateSource::itself));
}

TEST(GatewayConnectionState, describesReasonAndLocalTimeOfTheNextAttempt)
{
    EXPECT_EQ(State::retrying("lost", at).detail(UpdateSource::itself),
              localized("gateway.retrying.detail", {"lost", dates::localTime(at)}));
}

TEST(GatewayConnectionState, isConnectedInOneStateOnly)
{
    for (Kind const kind :
         {Kind::retrying, Kind::notLinked, Kind::connecting, Kind::tokenRejected, Kind::updateRequired})
        EXPECT_FALSE(State::of(kind).isConnected());
    EXPECT_TRUE(State::of(Kind::connected).isConnected());
}

TEST(GatewayConnectionState, comparesReasonAndNextAttempt)
{
    EXPECT_EQ(State::retrying("r", at), State::retrying("r", at));
    EXPECT_NE(State::retrying("r", at), State::retrying("s", at));
    EXPECT_NE(State::retrying("r", at), State::retrying("r", at + 1s));
    EXPECT_NE(State::of(Kind::connecting), State::of(Kind::connected));
}

} // namespace
} // namespace zelvo
