#pragma once

#include "drivers/PostingGate.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <vector>

namespace zelvo {

/// The gate before fake event posting, with one window of ours that the test may move.
class PostingGateFixture : public testing::Test {
public:
    bool post(PostedEvent event) { return run(platform.io, gate.post(std::move(event))); }
    void close() { run(platform.io, gate.close()); }

    FakePlatform platform;
    FakeEventPosting& inner = platform.posting;
    bool paused = false;
    std::vector<DesktopRect> ownWindows = {{.x = 100, .y = 100, .width = 50, .height = 50}};
    int windowLooks = 0;
    PostingGate gate{inner, platform.contexts.workers, [this] { return paused; },
                     [this] {
                         ++windowLooks;
                         return ownWindows;
                     }};
};

using Kind = MouseEvent::Kind;

inline constexpr DesktopPoint inside{120, 120};
inline constexpr DesktopPoint outside{10, 10};

inline PostedEvent mouse(Kind kind, DesktopPoint point)
{
    MouseEvent event;
    event.kind = kind;
    event.point = point;
    return event;
}

inline std::vector<PostedEvent> keyEvents()
{
    return {KeyEvent{}, KeyEvent{KeyEvent::Kind::up}, TextEvent{KeyEvent::Kind::down, "a"},
            TextEvent{KeyEvent::Kind::up, "a"}};
}

inline std::vector<PostedEvent> mouseEvents(DesktopPoint point)
{
    return {mouse(Kind::moved, point), mouse(Kind::down, point), mouse(Kind::dragged, point),
            mouse(Kind::up, point)};
}

} // namespace zelvo
