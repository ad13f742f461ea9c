#include "platform/linux/atspi/AtspiNodes.h"

#include <gmock/gmock.h>

namespace zelvo::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct AtspiNodesTest : testing::Test {
    /// 0 application, 1 and 2 below it, 3 and 4 below 1, 5 below 4.
    AtspiNodesTest()
    {
        for (char const* path : {"/0", "/1", "/2", "/3", "/4", "/5"})
            nodes.find(0, path);
        nodes.adopt(0, {1, 2});
        nodes.adopt(1, {3, 4});
        nodes.adopt(4, {5});
    }

    AtspiNodes nodes;
};

} // namespace

TEST_F(AtspiNodesTest, knowsAnElementAgain)
{
    EXPECT_EQ(nodes.find(0, "/4"), 4u);
    EXPECT_EQ(nodes.find(1, "/4"), 6u); // Another process's.
    EXPECT_EQ(nodes.find(0, "/9"), 7u);
}

TEST_F(AtspiNodesTest, everyTextOfAnElementCounts)
{
    AtspiNode& node = nodes[3];
    node.name = "1";
    node.description = "22";
    node.help = "333";
    node.identifier = "4444";
    node.text = "55555";
    node.actions = {"666666", "7777777"};
    EXPECT_EQ(node.textSize(), 28u);

    node.forgetTexts();

    EXPECT_EQ(node.textSize(), 0u);
    EXPECT_THAT(node.actions, IsEmpty());
    EXPECT_EQ(node.help, std::nullopt);
}

TEST_F(AtspiNodesTest, goesInTheOrderOfAWalk)
{
    std::vector<AtspiNodes::Index> const order = {0, 1, 3, 4, 5, 2};
    for (std::size_t left = 0; left < order.size(); ++left)
        for (std::size_t right = 0; right < order.size(); ++right)
            EXPECT_EQ(nodes.isBefore(order[left], order[right]), left < right)
                << order[left] << " " << order[right];
}

TEST_F(AtspiNodesTest, hasEachElementOnce)
{
    auto const fresh = *nodes.find(0, "/6");
    nodes.adopt(5, {1, 5, 0, fresh, fresh, 2});

    EXPECT_THAT(*nodes[5].children, ElementsAre(fresh));
}

TEST_F(AtspiNodesTest, makesNoCircleOfElementsThatNobodyListed)
{
    nodes.forgetAnswers();
    nodes.adopt(4, {5});
    nodes.adopt(5, {4, 5});

    EXPECT_THAT(*nodes[5].children, IsEmpty());
    EXPECT_TRUE(nodes.isBefore(4, 5));
    nodes.isBefore(1, 5); // Of different trees: either answer will do.
}

TEST_F(AtspiNodesTest, hangsWhatNobodyHasListedBelowItsOwnParent)
{
    auto const fresh = *nodes.find(0, "/6");

    EXPECT_TRUE(nodes.hang(fresh, 5));
    EXPECT_TRUE(nodes.hang(fresh, 5));
    EXPECT_FALSE(nodes.hang(fresh, 2)); // It has another one.
    EXPECT_FALSE(nodes.hang(0, fresh)); // The application is nobody's child.
    EXPECT_TRUE(nodes.isBefore(5, fresh));

    nodes.adopt(5, {fresh, fresh});

    EXPECT_THAT(*nodes[5].children, ElementsAre(fresh));
}

TEST_F(AtspiNodesTest, hangsNothingAboveItself)
{
    nodes.forgetAnswers();

    EXPECT_TRUE(nodes.hang(4, 3));
    EXPECT_TRUE(nodes.hang(5, 4));
    EXPECT_FALSE(nodes.hang(3, 5));
    EXPECT_FALSE(nodes.hang(2, 2));
    nodes.adopt(5, {3});

    EXPECT_THAT(*nodes[5].children, IsEmpty());
}

TEST_F(AtspiNodesTest, knowsWhatIsInAPasswordField)
{
    nodes[1].role = AtspiRole::passwordText;

    EXPECT_TRUE(nodes.isSecret(1));
    EXPECT_TRUE(nodes.isSecret(5));
    EXPECT_FALSE(nodes.isSecret(2));
    EXPECT_FALSE(nodes.isSecret(0));
}

TEST_F(AtspiNodesTest, keepsToItsNumber)
{
    AtspiNodes many;
    for (std::size_t at = 0; at < AtspiNodes::maxNodes; ++at)
        many.find(0, "/" + std::to_string(at));

    EXPECT_EQ(many.find(0, "/one/more"), std::nullopt);
    EXPECT_EQ(many.find(0, "/7"), 7u);
}

} // namespace zelvo::test
