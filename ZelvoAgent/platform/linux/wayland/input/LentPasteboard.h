#pragma once

#include "base/LockedBox.h"
#include "platform/Pasteboard.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The clipboard, lent to a text that is being pasted. What is put back afterwards is somebody else's text,
/// although this program offers it: it is reported as a clipboard manager's, so what a hidden application
/// copied stays hidden. Thread: any.
class LentPasteboard final : public Pasteboard {
public:
    /// inner  outlives this
    explicit LentPasteboard(Pasteboard& inner) : inner(inner) {}

    std::int64_t changeCount() const override { return inner.changeCount(); }
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override;
    Task<std::string> text() override { return inner.text(); }
    Task<bool> setText(std::string text) override;
    Task<> handOver() override { return inner.handOver(); }

    /// Puts a text back that somebody else had copied.
    Task<bool> putBack(std::string text);

private:
    Pasteboard& inner;
    /// The changes after a count that are somebody else's texts: up to another count, or until the next own
    /// text.
    struct PutBack {
        std::int64_t after = 0;
        std::optional<std::int64_t> upTo;
    };
    LockedBox<std::vector<PutBack>> putBacks; ///< only the latest ones
};

} // namespace zelvo
