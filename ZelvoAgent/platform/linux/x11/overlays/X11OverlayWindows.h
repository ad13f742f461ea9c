#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/OverlayWindows.h"
#include "platform/linux/x11/X11DisplayLayout.h"

#include <memory>

namespace zelvo {

/// Overlay windows on an X screen. They follow a compositing manager that starts or ends. Connects to the
/// server with the first window. Thread: main.
class X11OverlayWindows final : public OverlayWindows {
public:
    /// layout  must outlive it and its windows
    X11OverlayWindows(Contexts contexts, Clock& clock, X11DisplayLayout& layout);
    ~X11OverlayWindows() override;

    std::optional<MainDisplay> mainDisplay() const override;
    std::unique_ptr<OverlayWindow> open(Layer layer) override;

private:
    class Stack;
    class Window;

    X11DisplayLayout& layout;
    std::shared_ptr<Stack> stack;
};

} // namespace zelvo
