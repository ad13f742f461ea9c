#include "gateway/GatewayFailure.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Kind = GatewayFailure::Kind;

TEST(GatewayFailure, delayBeforeJitterDoublesUpToThirtySeconds)
{
    std::vector<int> delays;
    for (int attempt = 1; attempt <= 7; ++attempt)
        delays.push_back(static_cast<int>(GatewayFailure::retryDelay(attempt).count()));

    EXPECT_EQ(delays, (std::vector<int>{1, 2, 4, 8, 16, 30, 30}));
}

TEST(GatewayFailure, delayOfAnAttemptOutsideItsRangeIsClamped)
{
    EXPECT_EQ(GatewayFailure::retryDelay(0).count(), 1);
    EXPECT_EQ(GatewayFailure::retryDelay(-5).count(), 1);
    EXPECT_EQ(GatewayFailure::retryDelay(INT64_MAX).count(), 30);
}

TEST(GatewayFailure, status401IsARejectedToken)
{
    EXPECT_EQ(GatewayFailure::classify(401, {}, {}, "x").kind, Kind::tokenRejected);
}

TEST(GatewayFailure, closeCode4401IsARejectedTokenWhateverTheReason)
{
    EXPECT_EQ(GatewayFailure::classify(101, 4401, "app_update_required", "x").kind, Kind::tokenRejected);
}

TEST(GatewayFailure, status426IsARequiredUpdate)
{
    EXPECT_EQ(GatewayFailure::classify(426, {}, {}, "x").kind, Kind::updateRequired);
}

TEST(GatewayFailure, reasonThatHoldsTheWordsIsARequiredUpdateWithAnyOtherCode)
{
    for (int const code : {1000, 1008, 4000, 4426})
        EXPECT_EQ(GatewayFailure::classify(101, code, "please: app_update_required (2.0)", "x").kind,
                  Kind::updateRequired);
}

TEST(GatewayFailure, status200IsTransientWithTheStatusInItsText)
{
    GatewayFailure const failure = GatewayFailure::classify(200, {}, {}, "x");

    EXPECT_EQ(failure.kind, Kind::transient);
    EXPECT_EQ(failure.reason, localized("gateway.httpStatus", {std::int64_t{200}}));
    EXPECT_NE(failure.reason.find("200"), std::string::npos);
}

TEST(GatewayFailure, statusAboveAThousandHasNoGrouping)
{
    EXPECT_NE(GatewayFailure::classify(1599, {}, {}, "x").reason.find("1599"), std::string::npos);
}

TEST(GatewayFailure, status101UsesTheDescribedError)
{
    EXPECT_EQ(GatewayFailure::classify(101, 1006, {}, "described").reason, "described");
    EXPECT_EQ(GatewayFailure::classify({}, {}, {}, "described").reason, "described");
}

TEST(GatewayFailure, restartOfTheGatewayIsTransient)
{
    GatewayFailure const failure =
        GatewayFailure::classify(101, 1012, "the gateway is stopping", "described");

    EXPECT_EQ(failure.kind, Kind::transient);
    EXPECT_EQ(failure.reason, "described");
}

TEST(GatewayFailure, networkFailuresHaveTheirWords)
{
    using Network = NetworkFailure::Kind;
    auto const describe = [](Network kind) { return GatewayFailure::describe({kind, "system's words"}); };

    EXPECT_EQ(describe(Network::offline), localized("gateway.reason.offline"));
    EXPECT_EQ(describe(Network::lost), localized("gateway.reason.lost"));
    EXPECT_EQ(describe(Network::unreachable), localized("gateway.reason.unreachable"));
    EXPECT_EQ(describe(Network::hostNotFound), localized("gateway.reason.unreachable"));
    EXPECT_EQ(describe(Network::timedOut), localized("gateway.reason.timeout"));
    EXPECT_EQ(describe(Network::cancelled), localized("gateway.reason.closed"));
    EXPECT_EQ(describe(Network::tls), "system's words");
    EXPECT_EQ(describe(Network::other), "system's words");
}

} // namespace
} // namespace zelvo
