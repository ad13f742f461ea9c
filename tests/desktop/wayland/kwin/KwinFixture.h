#pragma once

#include "desktop/wayland/harness/PrivateKwin.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/wayland/kwin/KwinWindows.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace zelvo::test {

/// KWin, and our view of its windows. Skips the test if KWin is not installed.
class KwinFixture : public testing::Test {
protected:
    void start(KwinOptions options = {})
    {
        kwin = std::make_unique<PrivateKwin>(std::move(options));
        kwin->adoptEnvironment();
        session = std::make_unique<BusConnection>(live.contexts().agent, clock, openSessionBus);
        open();
        require("the script", [&] { return windows->look().has_value(); });
    }

    void SetUp() override
    {
        if (std::string const missing = PrivateKwin::missingPackage(); !missing.empty())
            GTEST_SKIP() << "needs the package " << missing;
    }
    void TearDown() override
    {
        windows.reset();
        live.stop();
        session.reset();
    }

    void open()
    {
        windows =
            std::make_unique<KwinWindows>(live.contexts().agent, *session, clock, kwin->runtimeFolder());
        windows->observe([this] { ++changes; });
        windows->start();
    }

    std::optional<CompositorWindow> find(std::string const& title)
    {
        auto const now = windows->look();
        for (CompositorWindow const& window : now ? now->windows : std::vector<CompositorWindow>())
            if (window.title == title)
                return window;
        return std::nullopt;
    }
    CompositorWindow waitForWindow(std::string const& title)
    {
        std::optional<CompositorWindow> found;
        require("the window " + title, [&] {
            found = find(title);
            return found && found->frame.width > 0;
        });
        return *found;
    }

    LiveContexts live;
    LinuxClock clock{live.contexts().agent};
    std::unique_ptr<PrivateKwin> kwin;
    std::unique_ptr<BusConnection> session;
    std::unique_ptr<KwinWindows> windows;
    std::atomic<int> changes = 0;
};

} // namespace zelvo::test
