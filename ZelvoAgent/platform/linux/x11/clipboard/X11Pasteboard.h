#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Pasteboard.h"
#include "platform/linux/x11/X11Events.h"

#include <memory>
#include <optional>
#include <string>

namespace zelvo {

class ClipboardEngine;

/// The CLIPBOARD selection, as owner and as requestor, on a separate connection. The change counter counts
/// new owners; a clipboard manager that takes over does not count, since it keeps another program's text.
/// Without an X server there is no text and no change.
/// Thread: any; everything runs on the agent's, conversions on the workers.
class X11Pasteboard final : public Pasteboard {
public:
    /// Blocks for a few round trips.
    /// display  empty for $DISPLAY
    X11Pasteboard(Contexts contexts, Clock& clock, std::string const& display = {});
    ~X11Pasteboard() override;

    std::int64_t changeCount() const override;
    Task<std::string> text() override;
    Task<bool> setText(std::string text) override;
    Task<> handOver() override;

private:
    Contexts contexts;
    std::shared_ptr<ClipboardEngine> engine; ///< null without a server
    std::optional<X11Events> events;
};

} // namespace zelvo
