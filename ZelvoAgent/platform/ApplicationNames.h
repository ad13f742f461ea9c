#pragma once

#include "base/Text.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// This program's own application identifier.
inline constexpr char const* ownBundleIdentifier = "dev.zelvo.agent";

/// What an application is called. Its identifier is what agents are answered; its other names are what they
/// may ask for it by, and what the person may have hidden it under.
struct ApplicationNames {
    std::vector<std::string> names; ///< the identifier first; empty when nothing is known
    /// The names of other applications that it is hidden with: those whose windows its windows are transient
    /// for, and those that it is embedded with.
    std::vector<std::string> hiddenWith = {};
    /// Windows of any other application may be embedded in its window: hidden if anything is.
    bool isHiddenWithAny = false;
    bool operator==(ApplicationNames const&) const = default;

    std::optional<std::string> identifier() const
    {
        return names.empty() ? std::nullopt : std::optional(names.front());
    }
    /// Whether an agent that asks for this identifier means the application. The case of letters does not
    /// count.
    bool answersTo(std::string const& asked) const { return isAny(names, asked); }
    /// Whether the person's list has any of the names. The case of letters does not count here either, so
    /// that hiding errs on the safe side.
    bool isHidden(std::set<std::string> const& hidden) const
    {
        return std::ranges::any_of(hidden, [this](std::string const& name) {
            return isAny(names, name) || isAny(hiddenWith, name) ||
                   (isHiddenWithAny && !text::equalIgnoringCase(name, ownBundleIdentifier));
        });
    }
    /// Hides it together with another application.
    void hideWith(ApplicationNames const& other)
    {
        for (auto const* const list : {&other.names, &other.hiddenWith})
            for (std::string const& name : *list)
                if (std::ranges::find(names, name) == names.end())
                    add(hiddenWith, {name});
        isHiddenWithAny = isHiddenWithAny || other.isHiddenWithAny;
    }
    /// Joins what two windows of one application are called. It is hidden with another one when both are.
    void join(ApplicationNames const& other)
    {
        add(names, other.names);
        std::erase_if(hiddenWith, [&](std::string const& name) {
            return std::ranges::find(other.hiddenWith, name) == other.hiddenWith.end();
        });
        isHiddenWithAny = isHiddenWithAny && other.isHiddenWithAny;
    }
    /// Joins names without doubles, their order kept.
    void add(ApplicationNames const& more)
    {
        add(names, more.names);
        add(hiddenWith, more.hiddenWith);
        isHiddenWithAny = isHiddenWithAny || more.isHiddenWithAny;
    }

private:
    static bool isAny(std::vector<std::string> const& names, std::string const& asked)
    {
        return std::ranges::any_of(
            names, [&](std::string const& name) { return text::equalIgnoringCase(name, asked); });
    }
    static void add(std::vector<std::string>& names, std::vector<std::string> const& more)
    {
        for (std::string const& name : more)
            if (std::ranges::find(names, name) == names.end())
                names.push_back(name);
    }
};

} // namespace zelvo
