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

/// The CLIPBOARD selection, as owner and as requestor, on a connection of its own. The change counter counts
/// what the server tells of new owners; a clipboard manager that takes the selection over is none, since it
/// keeps what another program has put there. Without an X server there is no text and no change.
/// Thread: any; everything runs on the agent's, conversions on the workers.
class X11Pasteboard final : public Pasteboard {
public:
    /// Asks the server a few questions and waits for the answers. display: empty for $DISPLAY.
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
