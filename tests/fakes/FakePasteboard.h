#pragma once

#include "platform/Pasteboard.h"

#include <functional>
#include <string>
#include <utility>

namespace zelvo {

/// A clipboard in memory.
class FakePasteboard final : public Pasteboard {
public:
    std::string content;
    std::int64_t changes = 0;
    std::function<void()> onText; ///< called before the text is returned
    bool refuses = false;         ///< setting a text fails
    int handedOver = 0;           ///< number of calls
    mutable int looks = 0;        ///< reads of the change counter

    /// Some application copies.
    void copy(std::string text)
    {
        content = std::move(text);
        ++changes;
    }

    std::int64_t changeCount() const override
    {
        ++looks;
        return changes;
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
