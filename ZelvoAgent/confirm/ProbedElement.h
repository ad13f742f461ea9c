#pragma once

#include <optional>
#include <string>

namespace zelvo {

/// What was seen of an element that an agent is about to press. No text of it is empty but the role.
struct ProbedElement {
    std::string role; ///< empty when it has none
    std::optional<std::string> subrole;
    std::optional<std::string> title;
    std::optional<std::string> label; ///< its accessible description
    std::optional<std::string> help;
    std::optional<std::string> identifier;    ///< a developer's name for it, often not meant for people
    std::optional<std::string> appName;       ///< of the process that owns it
    std::optional<std::string> windowSubrole; ///< of the window or sheet that it stands in
    bool isInSheet = false;
    bool operator==(ProbedElement const&) const = default;
};

} // namespace zelvo
