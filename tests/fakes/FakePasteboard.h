#pragma once

#include "platform/Pasteboard.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A clipboard in memory.
class FakePasteboard final : public Pasteboard {
public:
    std::string content;
    std::int64_t changes = 0;
    std::vector<ClipboardChange> known; ///< the changes whose owner is known
    std::function<void()> onText;       ///< called before the text is returned
    bool refuses = false;               ///< setting a text fails
    int handedOver = 0;                 ///< number of calls
    mutable int looks = 0;              ///< reads of the change counter

    /// Some application copies.
    void copy(std::string text)
    {
        content = std::move(text);
        ++changes;
    }

    /// The same, and the owner is known.
    void copy(std::string text, ClipboardChange by)
    {
        copy(std::move(text));
        by.count = changes;
        known.push_back(std::move(by));
    }

    std::int64_t changeCount() const override
    {
        ++looks;
        return changes;
    }
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) override
    {
        std::vector<ClipboardChange> later;
        std::ranges::copy_if(known, std::back_inserter(later),
                             [&](ClipboardChange const& change) { return change.count > count; });
        co_return later;
    }
    Task<std::string> text() override
    {
        if (onText)
            onText();
        co_return content.size() > maxTextLength ? std::string() : content;
    }
    Task<bool> setText(std::string text) override
    {
        if (refuses)
            co_return false;
        copy(std::move(text));
        co_return true;
    }
    Task<> handOver() override
    {
        ++handedOver;
        co_return;
    }
};

} // namespace zelvo
