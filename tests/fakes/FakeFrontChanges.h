#pragma once

#include "platform/FrontChanges.h"

#include <utility>

namespace zelvo {

/// Reports a change when a test calls `changed`.
class FakeFrontChanges final : public FrontChanges {
public:
    std::function<void()> changed = [] {};

    void observe(std::function<void()> observer) override { changed = std::move(observer); }
};

} // namespace zelvo
