#include "desktop/windows/DiagnosticsFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Kind = GatewayConnectionState::Kind;

class DiagnosticsWindowTest : public DiagnosticsFixture {
protected:
    void become(GatewayConnectionState state)
    {
        parts->state.setGatewayState(std::move(state));
        settle();
    }
    /// The buttons among those for a link that are shown.
    std::vector<std::string> linkButtons()
    {
        std::vector<std::string> keys;
        for (char const* const key : {"common.reconnectNow", "common.relink", "status.action.update"})
            if (says(localized(key)))
                keys.emplace_back(key);
        return keys;
    }
};

TEST_F(DiagnosticsWindowTest, showsTheServerAndTheButtonThatFits)
{
    startUpdates();
    open(AppWindow::diagnostics);
    EXPECT_THAT(said(), HasSubstr(localized("gateway.connected")));
    EXPECT_THAT(said(), HasSubstr(parts->runtime.gatewayUrl()));
    EXPECT_THAT(linkButtons(), testing::IsEmpty());

    become(GatewayConnectionState::retrying("It is dark", platform->time.date() + 5s));
    EXPECT_THAT(said(), HasSubstr("It is dark"));
    EXPECT_THAT(linkButtons(), testing::ElementsAre("common.reconnectNow"));

    become(GatewayConnectionState::of(Kind::tokenRejected));
    EXPECT_THAT(linkButtons(), testing::ElementsAre("common.relink"));

    become(GatewayConnectionState::of(Kind::updateRequired));
    EXPECT_THAT(linkButtons(), testing::ElementsAre("status.action.update"));

    become(GatewayConnectionState::of(Kind::connected));
    EXPECT_THAT(linkButtons(), testing::IsEmpty());
}

TEST_F(DiagnosticsWindowTest, ofAPackagedProgramHasNoButtonForAnUpdate)
{
    become(GatewayConnectionState::of(Kind::updateRequired));
    open(AppWindow::diagnostics);

    EXPECT_THAT(said(), HasSubstr(localized("gateway.updateRequired.packaged")));
    EXPECT_THAT(linkButtons(), testing::IsEmpty());
}

TEST_F(DiagnosticsWindowTest, showsPermissionsAndAvailability)
{
    platform->systemAccess.granted = {.accessibility = true};
    open(AppWindow::diagnostics);
    EXPECT_THAT(said(), HasSubstr(localized("common.no")));
    EXPECT_THAT(said(), HasSubstr(localized("diag.state.empty")));

    platform->sessionEvents.present = Availability::screenLocked;
    parts->state.startObserving();
    parts->state.refreshAvailability();
    settle();

    EXPECT_THAT(said(), HasSubstr("ready → screen_locked"));
}

TEST_F(DiagnosticsWindowTest, refreshReadsThePermissionsAnew)
{
    platform->systemAccess.granted = {.accessibility = true, .screenRecording = true};
    open(AppWindow::diagnostics);
    std::string const none = localized("permission.screenRecording") + "\n" + localized("common.no") + "\n";
    ASSERT_THAT(said(), Not(HasSubstr(none)));

    platform->systemAccess.granted.screenRecording = false; // The system does not report it.
    settle();
    ASSERT_THAT(said(), Not(HasSubstr(none)));
    press("common.refresh");

    EXPECT_THAT(said(), HasSubstr(none));
}

} // namespace
} // namespace zelvo::test
