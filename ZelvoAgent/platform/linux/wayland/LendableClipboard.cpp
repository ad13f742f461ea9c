#include "platform/linux/wayland/LendableClipboard.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace zelvo {

namespace {

/// What X11 programs are asked for besides contents.
constexpr std::array<std::string_view, 5> withoutContent{"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS",
                                                         "DELETE"};

} // namespace

std::optional<std::vector<std::string>> formsToKeep(std::vector<std::string> const& offered)
{
    std::vector<std::string> kept;
    for (std::string const& type : offered) {
        if (type.empty())
            return std::nullopt;
        bool const hasContent = !type.starts_with(ownMarkPrefix) &&
                                std::ranges::find(withoutContent, type) == withoutContent.end();
        if (!hasContent || std::ranges::find(kept, type) != kept.end())
            continue;
        if (kept.size() == LendableClipboard::maxForms)
            return std::nullopt;
        kept.push_back(type);
    }
    return kept;
}

} // namespace zelvo
