#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/LendableClipboard.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/client/WaylandEvents.h"
#include "platform/linux/wayland/clipboard/OwnContent.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The clipboard of a compositor that lets clipboard managers read it: KDE, sway and others. It does not say
/// whose a content is; only ours is known exactly. Text that we offer ends with the program, unless a
/// manager has read it, which those do at once.
class DataControlPasteboard final : public LendableClipboard {
public:
    /// Whether the compositor can do it.
    static bool isOffered(WaylandClient const& client);

    /// The clock must outlive it. SIGPIPE must be ignored.
    /// client  a connection that nothing else reads; null: the clipboard is empty and can't be set
    DataControlPasteboard(Contexts given, Clock& clock, std::shared_ptr<WaylandClient> client);
    ~DataControlPasteboard() override;
    DataControlPasteboard(DataControlPasteboard const&) = delete;
    DataControlPasteboard& operator=(DataControlPasteboard const&) = delete;

    std::int64_t changeCount() const override;
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override;
    Task<std::string> text() override;
    Task<bool> setText(std::string text) override;
    /// Waits for readers of our text.
    Task<> handOver() override;
    Task<std::optional<ClipboardForms>> keep() override;
    Task<bool> lend(std::string text) override;
    std::optional<std::uint64_t> readings() const override;
    Task<bool> waitForReading(std::uint64_t after, Duration patience) override;
    Task<bool> putBack(ClipboardForms forms) override;

private:
    class Engine;

    Task<bool> offer(std::string text, OwnContent::Use use);

    Contexts contexts;
    std::shared_ptr<Engine> engine;
    std::optional<WaylandEvents> events;
};

} // namespace zelvo
