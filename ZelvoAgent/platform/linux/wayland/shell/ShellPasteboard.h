#pragma once

#include "base/Contexts.h"
#include "platform/Pasteboard.h"
#include "platform/linux/wayland/shell/ShellPresence.h"

#include <memory>

namespace zelvo {

/// The clipboard of GNOME Shell, by our extension. The shell does not say which program changed it. Our text
/// belongs to the shell, so it stays when our program ends.
class ShellPasteboard final : public Pasteboard {
public:
    ShellPasteboard(Contexts contexts, BusConnection& bus, ShellPresence& presence);

    /// Starts to count changes. Called once.
    void start();
    std::int64_t changeCount() const override;
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override;
    Task<std::string> text() override;
    Task<bool> setText(std::string text) override;
    Task<> handOver() override;

private:
    struct Changes;

    Contexts contexts;
    BusConnection& bus;
    ShellPresence& presence;
    std::shared_ptr<Changes> changes;
};

} // namespace zelvo
