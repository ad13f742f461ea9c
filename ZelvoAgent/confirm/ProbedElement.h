#pragma once

#include <optional>
#include <string>

namespace zelvo {

/// The element that an agent is about to press. Only the role may be empty; other texts are absent instead.
struct ProbedElement {
    std::string role; ///< empty if it has none
    std::optional<std::string> subrole;
    std::optional<std::string> title;
    std::optional<std::string> label; ///< its accessible description
    std::optional<std::string> help;
    std::optional<std::string> identifier;    ///< the developer's name for it, often not meant for people
    std::optional<std::string> appName;       ///< name of the application that owns it
    std::optional<std::string> windowSubrole; ///< subrole of its window or sheet
    bool isInSheet = false;
    bool isUnknown = false; ///< there is one, but which is not known; the texts are absent
    bool operator==(ProbedElement const&) const = default;
};

} // namespace zelvo
