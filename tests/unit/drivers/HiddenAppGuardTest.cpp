#include "drivers/HiddenAppGuard.h"

#include "fakes/ErrorOf.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class HiddenAppGuardTest : public testing::Test {
public:
    void hide(std::string bundleId) { run(platform.io, store.add(std::move(bundleId))); }
    std::optional<AgentError> ofFront()
    {
        return errorOf([this] { run(platform.io, guard.assertFrontmostAllowed()); });
    }
    std::optional<AgentError> ofPoint(DesktopPoint point)
    {
        return errorOf([&] { run(platform.io, guard.assertPointAllowed(point)); });
    }
    std::optional<AgentError> ofBundle(std::optional<std::string> bundleId)
    {
        return errorOf([&] { run(platform.io, guard.assertBundleAllowed(bundleId)); });
    }

    FakePlatform platform;
    HiddenAppsStore store{platform.contexts.agent, platform.settings};
    HiddenAppGuard guard{platform.contexts.workers, store, platform.desktop, platform.windowList};
};

RunningApplication application(std::vector<std::string> names)
{
    return {.pid = 1, .names = {std::move(names)}, .localizedName = "Some"};
}

WindowEntry window(std::string owner, DesktopRect bounds, int layer = 0)
{
    return {.id = 1, .ownerPid = 1, .layer = layer, .bounds = bounds, .owner = {{std::move(owner)}}};
}

constexpr DesktopRect large{.x = 0, .y = 0, .width = 100, .height = 100};
constexpr DesktopRect small{.x = 20, .y = 20, .width = 10, .height = 10};

TEST_F(HiddenAppGuardTest, passesEverythingOnAFreshMachine)
{
    platform.desktop.front = application({"com.bitwarden.desktop"});
    platform.windowList.list = {window("com.bitwarden.desktop", large)};

    EXPECT_FALSE(ofFront());
    EXPECT_FALSE(ofPoint({25, 25}));
    EXPECT_FALSE(ofBundle("com.bitwarden.desktop"));
}

TEST_F(HiddenAppGuardTest, refusesAHiddenApplicationInFront)
{
    hide("org.keys");

    platform.desktop.front = application({"org.keys"});
    EXPECT_EQ(ofFront(), AgentError::hiddenAppActive);

    platform.desktop.front = application({"org.editor"});
    EXPECT_FALSE(ofFront());
}

TEST_F(HiddenAppGuardTest, passesWhenNothingIsKnownToBeInFront)
{
    hide("org.keys");

    EXPECT_FALSE(ofFront());
    platform.desktop.front = application({});
    EXPECT_FALSE(ofFront());
}

TEST_F(HiddenAppGuardTest, refusesAnApplicationThatGoesByAnyHiddenName)
{
    hide("KEYS"); // Whatever the case of letters.
    platform.desktop.front = application({"org.keys.Keys", "Keys", "keys"});
    platform.windowList.list = {window("org.other", small)};
    platform.windowList.list->front().owner.names = {"org.keys.Keys", "Keys", "keys"};

    EXPECT_EQ(ofFront(), AgentError::hiddenAppActive);
    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, refusesWhatIsHiddenWithAnother)
{
    hide("keys");
    platform.desktop.front = application({"portal"});
    platform.desktop.front->names.hiddenWith = {"org.keys", "Keys"};
    platform.windowList.list = {window("portal", small)};
    platform.windowList.list->front().owner.hiddenWith = {"keys"};

    EXPECT_EQ(ofFront(), AgentError::hiddenAppActive);
    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, refusesAPointOnAHiddenWindow)
{
    hide("org.keys");
    platform.windowList.list = {window("org.keys", small), window("org.editor", large)};

    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
    EXPECT_FALSE(ofPoint({50, 50}));
}

TEST_F(HiddenAppGuardTest, letsTheFrontmostWindowUnderThePointDecide)
{
    hide("org.keys");
    platform.windowList.list = {window("org.editor", small), window("org.keys", large)};

    EXPECT_FALSE(ofPoint({25, 25}));
    EXPECT_EQ(ofPoint({50, 50}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, looksAtWindowsOfAnyLayer)
{
    hide("org.keys");
    platform.windowList.list = {window("org.keys", small, 25), window("org.editor", large)};

    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, passesAPointWithNoWindowUnderIt)
{
    hide("org.keys");
    platform.windowList.list = {window("org.keys", small)};

    EXPECT_FALSE(ofPoint({5, 5}));
    EXPECT_FALSE(ofPoint({30, 30})); // The right and bottom edges are outside.
    EXPECT_EQ(ofPoint({20, 20}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, skipsWindowsWithoutBoundsOrOwner)
{
    hide("org.keys");
    WindowEntry boundless = window("org.editor", small);
    boundless.bounds = std::nullopt;
    WindowEntry ownerless = window("org.editor", small);
    ownerless.ownerPid = std::nullopt;
    ownerless.owner.names.clear();
    platform.windowList.list = {boundless, ownerless, window("org.keys", large)};

    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, refusesAWindowOfAnUnknownProcessThatNamesAHiddenApplication)
{
    hide("org.keys");
    WindowEntry remote = window("org.keys", small);
    remote.ownerPid = std::nullopt;
    platform.windowList.list = {remote, window("org.editor", large)};

    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, refusesAHiddenApplicationEmbeddedInAnothersWindowOnlyWhereItIs)
{
    hide("org.keys");
    WindowEntry panel = window("org.panel", large);
    panel.embedded = {{.bounds = small, .owner = {{"org.keys"}}}};
    platform.windowList.list = {panel};

    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
    EXPECT_FALSE(ofPoint({50, 50}));

    hide("org.panel");
    EXPECT_EQ(ofPoint({50, 50}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, looksThroughTheHolesOfAWindow)
{
    hide("org.keys");
    WindowEntry overlay = window("org.overlay", large);
    overlay.parts = {{small}};
    platform.windowList.list = {overlay, window("org.keys", large)};

    EXPECT_FALSE(ofPoint({25, 25}));
    EXPECT_EQ(ofPoint({50, 50}), AgentError::hiddenAppActive);

    platform.windowList.list->front().parts = std::vector<DesktopRect>{};
    EXPECT_EQ(ofPoint({25, 25}), AgentError::hiddenAppActive);
}

TEST_F(HiddenAppGuardTest, passesAWindowWhoseOwnerHasNoName)
{
    hide("org.keys");
    WindowEntry nameless = window("", small);
    nameless.owner.names.clear();
    platform.windowList.list = {nameless, window("org.keys", large)};

    EXPECT_FALSE(ofPoint({25, 25}));
}

TEST_F(HiddenAppGuardTest, passesEveryPointWithoutAWindowList)
{
    hide("org.keys");
    platform.windowList.list = std::nullopt;

    EXPECT_FALSE(ofPoint({25, 25}));
}

TEST_F(HiddenAppGuardTest, refusesAHiddenIdentifierAndPassesAnAbsentOne)
{
    hide("org.keys");

    EXPECT_EQ(ofBundle("org.keys"), AgentError::hiddenAppActive);
    EXPECT_FALSE(ofBundle("org.editor"));
    EXPECT_FALSE(ofBundle(std::nullopt));
}

TEST_F(HiddenAppGuardTest, takesAChangeOfTheListIntoAccountAtTheNextCheck)
{
    platform.desktop.front = application({"org.keys"});
    EXPECT_FALSE(ofFront());

    hide("org.keys");
    EXPECT_EQ(ofFront(), AgentError::hiddenAppActive);

    run(platform.io, store.remove("org.keys"));
    EXPECT_FALSE(ofFront());
}

} // namespace
} // namespace zelvo
