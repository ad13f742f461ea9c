#pragma once

#include "platform/linux/wayland/LendableClipboard.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A clipboard in memory that can be lent. Thread: one.
class FakeLendableClipboard final : public LendableClipboard {
public:
    ClipboardForms content;
    std::int64_t changes = 0;
    std::vector<ClipboardChange> known;     ///< the changes whose owner is known
    std::vector<std::string> lent;          ///< the texts
    std::optional<std::uint64_t> reads = 0; ///< of lent texts
    std::vector<Duration> waits;            ///< for readings
    std::function<void()> onLend;           ///< called when a text was lent
    bool canKeep = true;
    bool refuses = false; ///< setting or lending a text fails

    /// Some application copies.
    void copy(ClipboardForms forms)
    {
        content = std::move(forms);
        ++changes;
    }
    void copy(std::string const& text) { copy({{"text/plain", text}}); }
    /// The plain text; empty if there is none.
    std::string plain() const
    {
        auto const found = std::ranges::find(content, "text/plain", &ClipboardForm::type);
        return found == content.end() ? std::string() : found->bytes;
    }

    std::int64_t changeCount() const override { return changes; }
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override
    {
        std::vector<ClipboardChange> later;
        std::ranges::copy_if(known, std::back_inserter(later),
                             [&](ClipboardChange const& change) { return change.count > count; });
        co_return later;
    }
    Task<std::string> text() override { co_return plain(); }
    Task<bool> setText(std::string text) override
    {
        if (refuses)
            co_return false;
        copy(text);
        co_return true;
    }
    Task<> handOver() override { co_return; }
    Task<std::optional<ClipboardForms>> keep() override
    {
        if (!canKeep)
            co_return std::nullopt;
        co_return content;
    }
    Task<bool> lend(std::string text) override
    {
        if (refuses)
            co_return false;
        lent.push_back(text);
        copy(text);
        if (onLend)
            onLend();
        co_return true;
    }
    std::optional<std::uint64_t> readings() const override { return reads; }
    Task<bool> waitForReading(std::uint64_t after, Duration patience) override
    {
        waits.push_back(patience);
        co_return reads && *reads > after;
    }
    Task<bool> putBack(ClipboardForms forms) override
    {
        copy(std::move(forms));
        co_return true;
    }
};

} // namespace zelvo
