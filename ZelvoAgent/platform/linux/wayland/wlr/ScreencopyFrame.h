#pragma once

#include "platform/linux/wayland/wlr/UprightPicture.h"

#include <cstdint>
#include <functional>

struct wl_output;                  // NOLINT(readability-identifier-naming): libwayland names it.
struct zwlr_screencopy_frame_v1;   // NOLINT(readability-identifier-naming): wayland-scanner names it.
struct zwlr_screencopy_manager_v1; // NOLINT(readability-identifier-naming): wayland-scanner names it.

namespace zelvo {

/// One frame of zwlr_screencopy: what the compositor reports of it. Thread: the one that reads the
/// connection.
class ScreencopyFrame {
public:
    enum class State { asked, described, ready, failed };

    /// changed  called at each change of the state; may be empty
    ScreencopyFrame(zwlr_screencopy_manager_v1* manager,
                    wl_output* output,
                    bool withPointer,
                    std::function<void()> changed = {});
    ~ScreencopyFrame();
    ScreencopyFrame(ScreencopyFrame const&) = delete;
    ScreencopyFrame& operator=(ScreencopyFrame const&) = delete;

    zwlr_screencopy_frame_v1* get() const { return object; }
    State state() const { return now; }
    /// Without the rotation, which the output knows. Valid once it is described.
    RawFrame const& shape() const { return raw; }

private:
    struct Listener;
    void become(State next);

    zwlr_screencopy_frame_v1* object;
    std::function<void()> changed;
    RawFrame raw;
    State now = State::asked;
};

} // namespace zelvo
