#include "state/QueuePolicy.h"

#include "fakes/FakeUserDefaults.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(QueuePolicy, decidesForAllOrForNone)
{
    std::vector<std::string> const ids{"a", "b"};
    EXPECT_EQ(immediateDecision(QueuePolicy::ask, ids), std::nullopt);
    EXPECT_EQ(immediateDecision(QueuePolicy::automatic, ids),
              (QueueDecision{.accepted = ids, .declined = {}}));
    EXPECT_EQ(immediateDecision(QueuePolicy::never, ids), (QueueDecision{.accepted = {}, .declined = ids}));
}

TEST(QueuePolicy, isStoredUnderItsRawValue)
{
    FakeUserDefaults defaults;
    EXPECT_EQ(loadQueuePolicy(defaults), QueuePolicy::ask);
    for (auto const& [policy, text] :
         {std::pair(QueuePolicy::ask, "ask"), std::pair(QueuePolicy::automatic, "auto"),
          std::pair(QueuePolicy::never, "never")}) {
        save(policy, defaults);
        EXPECT_EQ(defaults.text("dev.zelvo.queuePolicy"), text);
        EXPECT_EQ(loadQueuePolicy(defaults), policy);
    }
}

TEST(QueuePolicy, readsAsAskWhenItIsNotKnown)
{
    FakeUserDefaults defaults;
    defaults.setText("dev.zelvo.queuePolicy", "sometimes");
    EXPECT_EQ(loadQueuePolicy(defaults), QueuePolicy::ask);
    defaults.setInteger("dev.zelvo.queuePolicy", 1);
    EXPECT_EQ(loadQueuePolicy(defaults), QueuePolicy::ask);
}

TEST(QueuePolicy, isNamedForThePerson)
{
    EXPECT_EQ(title(QueuePolicy::ask), "Ask me");
    EXPECT_EQ(title(QueuePolicy::automatic), "Run them");
    EXPECT_EQ(title(QueuePolicy::never), "Don't run them");
}

} // namespace
} // namespace zelvo
