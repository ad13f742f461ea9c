#pragma once

#include "base/LockedBox.h"
#include "platform/linux/wayland/LendableClipboard.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The clipboard, lent to a text that is being pasted. What is put back afterwards is somebody else's
/// content, although this program offers it: it is reported as a clipboard manager's, so what a hidden
/// application copied stays hidden. Thread: any.
class LentPasteboard final : public LendableClipboard {
public:
    /// inner  outlives this
    explicit LentPasteboard(LendableClipboard& inner) : inner(inner) {}

    std::int64_t changeCount() const override { return inner.changeCount(); }
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override;
    Task<std::string> text() override { return inner.text(); }
    Task<bool> setText(std::string text) override;
    Task<> handOver() override { return inner.handOver(); }

    Task<std::optional<ClipboardForms>> keep() override { return inner.keep(); }
    Task<bool> lend(std::string text) override;
    std::optional<std::uint64_t> readings() const override { return inner.readings(); }
    Task<bool> waitForReading(std::uint64_t after, Duration patience) override
    {
        return inner.waitForReading(after, patience);
    }
    Task<bool> putBack(ClipboardForms forms) override;

private:
    /// The next change is a text of ours again.
    void beginOwn();

    LendableClipboard& inner;
    /// The changes after a count that are somebody else's contents: up to another count, or until the next
    /// own text.
    struct PutBack {
        std::int64_t after = 0;
        std::optional<std::int64_t> upTo;
    };
    LockedBox<std::vector<PutBack>> putBacks; ///< only the latest ones
};

} // namespace zelvo
