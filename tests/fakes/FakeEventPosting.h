#pragma once

#include "platform/EventPosting.h"

#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

/// Records the posted events.
class FakeEventPosting final : public EventPosting {
public:
    std::vector<PostedEvent> posted;
    std::vector<std::string> texts; ///< arguments of beginText()
    int endedTexts = 0;
    int releases = 0;
    int drains = 0;
    int deliveries = 0;
    DesktopPoint pointer;
    std::optional<std::size_t> refusesAfter;         ///< the number of events before one is refused
    std::function<void(PostedEvent const&)> onReady; ///< called by ready()
    std::function<void(PostedEvent const&)> onPost;  ///< called before an event is recorded
    bool handlesAll = true;                          ///< what delivered() gives
    std::function<void()> onDelivered;               ///< called by delivered()
    MayContinue mayContinue;                         ///< what setMayContinue() got

    Task<> ready(PostedEvent event) override
    {
        if (onReady)
            onReady(event);
        co_return;
    }
    Task<bool> post(PostedEvent event) override
    {
        if (onPost)
            onPost(event);
        if (refusesAfter && posted.size() >= *refusesAfter)
            co_return false;
        posted.push_back(std::move(event));
        co_return true;
    }
    Task<> beginText(std::string text) override
    {
        texts.push_back(std::move(text));
        co_return;
    }
    Task<> endText() override
    {
        ++endedTexts;
        co_return;
    }
    Task<> releaseAll() override
    {
        ++releases;
        co_return;
    }
    Task<> drained() override
    {
        ++drains;
        co_return;
    }
    Task<bool> delivered() override
    {
        ++deliveries;
        if (onDelivered)
            onDelivered();
        co_return handlesAll;
    }
    DesktopPoint pointerLocation() override { return pointer; }
    void setMayContinue(MayContinue ask) override { mayContinue = std::move(ask); }
};

} // namespace zelvo
