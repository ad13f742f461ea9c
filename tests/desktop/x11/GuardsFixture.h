#pragma once

#include "desktop/harness/PainterProcess.h"
#include "desktop/x11/LiveContexts.h"
#include "drivers/FrontWatch.h"
#include "drivers/FrontmostApp.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/OwnUiGuard.h"
#include "fakes/ErrorOf.h"
#include "fakes/FakeUserDefaults.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/windows/X11FrontChanges.h"
#include "platform/linux/x11/windows/X11WindowList.h"
#include "platform/linux/x11/windows/X11Workspace.h"
#include "wire/AgentError.h"

#include <boost/asio/post.hpp>
#include <boost/asio/use_future.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <xcb/shape.h>

#include <atomic>
#include <thread>

namespace zelvo::test {

/// The guards on a real X server. "secret" is hidden, by the name of its executable.
class GuardsOnADesktop : public testing::Test {
protected:
    explicit GuardsOnADesktop(DesktopOptions const& options = {.sessionBus = false}) : desktop(options) {}

    void SetUp() override
    {
        desktop.adoptEnvironment();
        connection = X11Connection::open();
        layout = std::make_unique<X11DisplayLayout>(live.contexts(), connection);
        entries = std::make_unique<DesktopEntries>();
        survey = std::make_unique<RecentSurvey>(connection, 0ms);
        windows = std::make_unique<X11WindowList>(*survey, *layout, *entries);
        workspace = std::make_unique<X11Workspace>(connection, *entries);
        guard = std::make_unique<HiddenAppGuard>(live.contexts().workers, store, *workspace, *windows);
        live.run(store.add("secret"));
    }
    void TearDown() override { live.stop(); }

    std::filesystem::path program(std::string const& name) { return desktop.home() / "bin" / name; }
    bool isRefused(double x, double y)
    {
        auto const error = errorOf([&] { live.run(guard->assertPointAllowed({x, y})); });
        EXPECT_TRUE(!error || *error == AgentError::hiddenAppActive);
        return error.has_value();
    }
    bool isFrontRefused()
    {
        auto const error = errorOf([&] { live.run(guard->assertFrontmostAllowed()); });
        EXPECT_TRUE(!error || *error == AgentError::hiddenAppActive);
        return error.has_value();
    }
    bool isOwn(double x, double y)
    {
        ZelvoWindows own(*windows, ::getpid());
        return errorOf([&] { OwnUiGuard(own).assertClickAllowed({x, y}); }) == AgentError::zelvoUiProtected;
    }
    void bringToFront(std::uint32_t window)
    {
        require("the window in front", [&] {
            askToActivate(window);
            return waitFor([&] { return desktop.activeWindow() == window; }, 500ms);
        });
    }
    void askToActivate(std::uint32_t window)
    {
        Painter pager(desktop.display());
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atomOf(pager.x(), "_NET_ACTIVE_WINDOW");
        message.data.data32[0] = 2; // As a pager asks.
        xcb_send_event(pager.x(), 0, pager.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<char const*>(&message));
        pager.sync();
    }

    PrivateDesktop desktop;
    LiveContexts live;
    FakeUserDefaults settings;
    HiddenAppsStore store{live.contexts().agent, settings};
    LinuxClock clock{live.contexts().agent};
    std::shared_ptr<X11Connection> connection;
    std::unique_ptr<X11DisplayLayout> layout;
    std::unique_ptr<DesktopEntries> entries;
    std::unique_ptr<RecentSurvey> survey;
    std::unique_ptr<X11WindowList> windows;
    std::unique_ptr<X11Workspace> workspace;
    std::unique_ptr<HiddenAppGuard> guard;
};

} // namespace zelvo::test
