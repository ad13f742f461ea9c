#pragma once

#include <functional>
#include <memory>

namespace zelvo {

/// A window above everything else that takes no click and no keyboard and is in no picture. It shows what its
/// model says until it is destroyed. Thread: main.
class OverlayPanel {
public:
    virtual ~OverlayPanel() = default;
};

/// Opens a panel; null if there is no screen.
using OverlayMaker = std::function<std::unique_ptr<OverlayPanel>()>;

} // namespace zelvo
