#include "app/lifecycle/NoUpdates.h"

#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class NoUpdatesTest : public testing::Test {
protected:
    FakeInformationDictionary information;
    NoUpdates updates{information};
    int changes = 0;

    void SetUp() override
    {
        updates.changed.connect([this] { ++changes; });
    }
    void expectNothingCanBeChecked()
    {
        updates.start();
        updates.start();
        updates.checkNow();
        EXPECT_FALSE(updates.canCheck());
        EXPECT_FALSE(updates.lastCheckFailed());
        EXPECT_EQ(changes, 0);
    }
};

TEST_F(NoUpdatesTest, cannotCheckWithoutAKey)
{
    EXPECT_FALSE(updates.isConfigured());
    expectNothingCanBeChecked();
}

TEST_F(NoUpdatesTest, cannotCheckWithAnEmptyKey)
{
    information.texts["SUPublicEDKey"] = "";

    EXPECT_FALSE(updates.isConfigured());
    expectNothingCanBeChecked();
}

TEST_F(NoUpdatesTest, cannotCheckInThisVersionEvenWithAKey)
{
    information.texts["SUPublicEDKey"] = "bW9yZSB0aGFuIG5vdGhpbmc=";

    EXPECT_TRUE(updates.isConfigured());
    expectNothingCanBeChecked();
}

} // namespace
} // namespace zelvo
