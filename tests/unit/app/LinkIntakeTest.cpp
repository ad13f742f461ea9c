#include "app/LinkIntake.h"

#include "base/LocalizedTexts.h"
#include "unit/app/RuntimeFixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace zelvo {
namespace {

class LinkIntakeTest : public RuntimeFixture {
protected:
    LinkIntake intake{parts.links, parts.state, platform.time};

    void take(std::string token)
    {
        intake.take(std::move(token));
        platform.settle();
    }
    std::vector<std::string> resolved() const
    {
        std::vector<std::string> tokens;
        for (HttpRequest const& request : platform.loading.requests)
            tokens.emplace_back(parseJson(request.body)->at("token").as_string());
        return tokens;
    }
    auto dropLines() const
    {
        return std::ranges::count(parts.state.activity(), localized("activity.linksDropped"),
                                  &ActivityEntry::summary);
    }
};

TEST_F(LinkIntakeTest, ofAFloodOneRequestRunsAndOneLineIsLogged)
{
    for (int i = 0; i < 1000; ++i)
        intake.take("t" + std::to_string(i)); // Also before the first has begun to run.
    platform.settle();
    for (int i = 0; i < 1000; ++i)
        take("u" + std::to_string(i));

    EXPECT_THAT(resolved(), testing::ElementsAre("t0"));
    EXPECT_EQ(dropLines(), 1);
}

TEST_F(LinkIntakeTest, takesTheNextLinkAfterAnAnswerOrAFailure)
{
    take("a");
    platform.loading.answer(200, R"({"requestedScopes":["screen"]})");
    platform.settle();
    take("b");
    platform.loading.fail(NetworkFailure::Kind::timedOut);
    platform.settle();
    take("c");

    EXPECT_THAT(resolved(), testing::ElementsAre("a", "b", "c"));
    EXPECT_EQ(dropLines(), 0);
}

TEST_F(LinkIntakeTest, logsALineAMinute)
{
    take("a");
    for (int second = 0; second < 121; ++second) {
        take("b");
        platform.time.advance(1s);
    }

    EXPECT_EQ(dropLines(), 3);
}

} // namespace
} // namespace zelvo
