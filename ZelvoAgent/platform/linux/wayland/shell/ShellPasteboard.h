#pragma once

#include "base/Contexts.h"
#include "platform/linux/wayland/LendableClipboard.h"
#include "platform/linux/wayland/shell/ShellPresence.h"

#include <memory>

namespace zelvo {

/// The clipboard of GNOME Shell, by our extension. The shell does not say which program changed it. Our text
/// belongs to the shell, so it stays when our program ends. The shell offers one form of it only: what has
/// others besides plain text, or several, cannot be kept, and nothing marks a lent text. It does not say who
/// reads, either.
class ShellPasteboard final : public LendableClipboard {
public:
    ShellPasteboard(Contexts contexts, BusConnection& bus, ShellPresence& presence);

    /// Starts to count changes. Called once.
    void start();
    std::int64_t changeCount() const override;
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override;
    Task<std::string> text() override;
    Task<bool> setText(std::string text) override;
    Task<> handOver() override;
    Task<std::optional<ClipboardForms>> keep() override;
    Task<bool> lend(std::string text) override;
    std::optional<std::uint64_t> readings() const override { return std::nullopt; }
    Task<bool> waitForReading(std::uint64_t, Duration) override { co_return false; }
    Task<bool> putBack(ClipboardForms forms) override;

private:
    struct Changes;

    Task<std::optional<std::vector<std::string>>> types();
    Task<std::optional<std::string>> readForm(std::string type);
    Task<bool> writeForm(ClipboardForm form);

    Contexts contexts;
    BusConnection& bus;
    ShellPresence& presence;
    std::shared_ptr<Changes> changes;
};

} // namespace zelvo
