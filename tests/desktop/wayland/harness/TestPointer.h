#pragma once

#include "platform/linux/wayland/client/WaylandClient.h"

#include <memory>

namespace zelvo::test {

/// A pointer device for compositors without one, as long as it lives. On KWin, a desktop entry must allow the
/// test's program the interface org_kde_kwin_fake_input. Throws std::runtime_error if there is no way to make
/// one. Thread: one at a time.
class TestPointer {
public:
    /// width, height  of the only output, in points
    TestPointer(int width, int height);
    ~TestPointer();
    TestPointer(TestPointer const&) = delete;
    TestPointer& operator=(TestPointer const&) = delete;

    /// All in points; they return when the compositor has taken the event.
    void moveTo(int x, int y);
    void click();

private:
    struct Doors;
    void button(bool isDown);

    int width;
    int height;
    std::shared_ptr<WaylandClient> client;
    std::unique_ptr<Doors> doors;
};

} // namespace zelvo::test
