#pragma once

#include "base/Contexts.h"
#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/input/X11EventPosting.h"

#include <optional>

namespace zelvo::test {

/// A private desktop with event posting on it, on real threads and the real clock.
class InputFixture {
public:
    explicit InputFixture(DesktopOptions options = {.width = 1280, .height = 800, .sessionBus = true});
    ~InputFixture();

    /// Runs a task to its end.
    template <class T>
    T await(Task<T> task)
    {
        return live.run(std::move(task));
    }
    /// Types as the input driver does: announces the whole text, then sends it in chunks.
    void typeText(std::string text);
    /// Posts an event once the gate's distance to earlier events has passed.
    bool post(PostedEvent event)
    {
        await(posting->ready(event));
        return await(posting->post(std::move(event)));
    }
    void chord(std::uint16_t keyCode, ModifierFlags flags);
    void click(DesktopPoint point, int count = 1);
    /// Waits until posted events have arrived, then ends posting as the program does at its normal end.
    void restartPosting();

    /// The whole keymap as the core protocol shows it, and the groups and types of every key.
    std::string keymap();
    /// Switches the layout ("us,ru") and the active group, 0 being the first.
    void useLayout(std::string const& layouts, int group);
    void lockModifiers(std::uint8_t mask, bool on) const;
    /// A key pressed or released by another client.
    void personKey(std::uint8_t keycode, bool down) const;
    /// The modifiers and buttons that are down, from the core protocol.
    std::uint16_t heldMask() const;

    PrivateDesktop desktop;
    LiveContexts live;
    Contexts contexts{live.contexts()};
    LinuxClock clock{contexts.agent};
    DisplayLayout layout{.widthPixels = 1280, .heightPixels = 800};
    std::optional<X11EventPosting> posting;

private:
    Task<> typeLikeTheDriver(std::string text);
};

} // namespace zelvo::test
