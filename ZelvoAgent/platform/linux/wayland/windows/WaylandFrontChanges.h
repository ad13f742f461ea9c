#pragma once

#include "base/Contexts.h"
#include "platform/FrontChanges.h"
#include "platform/linux/wayland/WindowSource.h"

#include <memory>

namespace zelvo {

/// Looks again after each change of the compositor's windows and reports those of the active window, of what
/// covers it, and of pop-ups, which can take its keys. Several changes during a look cause one further look.
class WaylandFrontChanges final : public FrontChanges {
public:
    /// source  null if the compositor shows nobody its windows: nothing is reported then. It must outlive
    ///         this and the threads of the contexts.
    WaylandFrontChanges(Contexts const& contexts, WindowSource* source);
    ~WaylandFrontChanges() override;

    void observe(std::function<void()> observer) override;

private:
    class Watch;
    std::shared_ptr<Watch> watch; ///< null without a source
};

} // namespace zelvo
