#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Pasteboard.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/clipboard/ClipboardChanges.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

class ClipboardEngine;

/// The CLIPBOARD selection, as owner and as requestor, on a separate connection. The change counter counts
/// new owners. A clipboard manager that takes over as an owner ends does not count: it keeps that owner's
/// text. Without an X server there is no text and no change. Thread: any; everything runs on the agent's,
/// conversions on the workers.
class X11Pasteboard final : public Pasteboard {
public:
    /// Blocks for a few round trips.
    /// display  empty for $DISPLAY
    /// naming   identifies the owners; empty leaves them unknown
    X11Pasteboard(Contexts contexts,
                  Clock& clock,
                  std::string const& display = {},
                  ProcessNaming naming = {});
    ~X11Pasteboard() override;

    std::int64_t changeCount() const override;
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override;
    Task<std::string> text() override;
    Task<bool> setText(std::string text) override;
    Task<> handOver() override;

private:
    Contexts contexts;
    std::shared_ptr<ClipboardEngine> engine; ///< null without a server
    std::optional<X11Events> events;
};

} // namespace zelvo
