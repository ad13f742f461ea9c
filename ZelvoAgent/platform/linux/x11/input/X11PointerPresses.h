#pragma once

#include "base/Contexts.h"
#include "platform/PointerPresses.h"
#include "platform/linux/screen/DisplayLayout.h"

#include <functional>
#include <memory>

namespace zelvo {

class X11Connection;

/// Listens for raw button presses of XInput 2, which the server reports even while another program has
/// grabbed the pointer. Each observation has a separate connection. Without a server or XInput 2.1 it reports
/// nothing.
class X11PointerPresses final : public PointerPresses {
public:
    /// display  for questions about the pointer; null if the server cannot be reached
    /// layout   converts pixels to points; called on any thread
    X11PointerPresses(Contexts contexts,
                      std::shared_ptr<X11Connection> display,
                      std::function<DisplayLayout()> layout);

    std::unique_ptr<PressObservation> observe(std::function<void(DesktopPoint)> pressed) override;

private:
    class Watch;
    class Observation;

    Contexts contexts;
    std::shared_ptr<X11Connection> display;
    std::function<DisplayLayout()> layout;
};

} // namespace zelvo
