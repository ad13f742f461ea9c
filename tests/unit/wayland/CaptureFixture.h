#pragma once

#include "fakes/FakeClientList.h"
#include "fakes/FakeFrameSource.h"
#include "fakes/FakeWindowSource.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/linux/wayland/capture/WaylandScreenSource.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <map>
#include <set>
#include <string>

namespace zelvo {

/// A compositor with one monitor of 64 × 48 pixels; processes are named by the test.
class CaptureFixture : public testing::Test {
protected:
    static constexpr std::uint32_t monitor = 7;

    CaptureFixture()
    {
        layout.monitors.push_back(
            {.id = monitor, .name = "DP-1", .area = {0, 0, 64, 48}, .widthPixels = 64, .heightPixels = 48});
    }

    Picture capture(std::set<std::string> hidden = {}, std::optional<DisplayPart> part = {})
    {
        hidden.insert(ownBundleIdentifier);
        CaptureRequest request{.display = monitor,
                               .width = part ? part->width : 64,
                               .height = part ? part->height : 48,
                               .excluded = std::move(hidden),
                               .part = part};
        return run(io, source.capture(std::move(request)));
    }
    CompositorWindow window(std::string id, std::int32_t pid)
    {
        return {.id = std::move(id),
                .pid = pid,
                .frame = {10, 10, 20, 10},
                .surface = {10, 10, 20, 10},
                .isOnScreen = true};
    }
    std::set<std::string> hiddenOf(WindowsNow const& now, std::set<std::string> const& hidden)
    {
        std::set<std::string> ids;
        for (CompositorWindow const& each : now.windows)
            if (each.pid == ::getpid() ? hidden.contains(ownBundleIdentifier)
                                       : names[each.pid.value_or(0)].isHidden(hidden))
                ids.insert(each.id);
        return ids;
    }

    asio::io_context io;
    ManualClock clock{&io};
    MonitorLayout layout;
    bool isAllowed = true;
    std::uint32_t shared = monitor;
    std::map<std::int32_t, ApplicationNames> names;
    FakeClientList clients;
    FakeWindowSource windows{io.get_executor()};
    FakeFrameSource frames;
    HiddenPresence presence{
        {.clients = clients,
         .windows = &windows,
         .namesOfProcess = [this](std::int32_t pid) { return names[pid]; },
         .hiddenOf = [this](WindowsNow const& now,
                            std::set<std::string> const& hidden) { return hiddenOf(now, hidden); }}};
    WaylandScreenSource source{{.contexts = contextsOn(io),
                                .clock = clock,
                                .monitors = [this] { return layout; },
                                .observeMonitors = [](std::function<void()>) {},
                                .frames = frames,
                                .presence = presence,
                                .isAllowed = [this] { return isAllowed; },
                                .isShared = [this](std::uint32_t id) { return id == shared; }}};
};

} // namespace zelvo
