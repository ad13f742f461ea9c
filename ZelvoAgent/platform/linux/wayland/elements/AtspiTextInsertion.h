#pragma once

#include "base/Contexts.h"
#include "platform/linux/atspi/AtspiReader.h"
#include "platform/linux/wayland/input/TextInsertion.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Text into the focused element of the application in front, by the accessibility bus. Blocking work runs on
/// the workers.
class AtspiTextInsertion final : public TextInsertion {
public:
    /// front   the process in front; `nullopt` if it is unknown. Blocks
    /// reader  of a process; blocks
    AtspiTextInsertion(Contexts contexts,
                       std::function<std::optional<std::int32_t>()> front,
                       std::function<std::unique_ptr<AtspiReader>(std::int32_t pid)> reader);

    Task<std::optional<Place>> begin() override;
    Task<bool> insert(std::string text) override;
    Task<bool> isBeforeCaret(std::string text) override;

private:
    std::optional<Place> look();

    Contexts contexts;
    std::function<std::optional<std::int32_t>()> front;
    std::function<std::unique_ptr<AtspiReader>(std::int32_t pid)> openReader;
    std::unique_ptr<AtspiReader> reader; // One call at a time.
    AccessibilityElement focused;
};

} // namespace zelvo
