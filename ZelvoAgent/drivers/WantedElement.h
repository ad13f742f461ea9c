#pragma once

#include "drivers/TreeCapturing.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// An element that somebody waits for, by what is read of it, and what is to become of it. A pure value.
struct WantedElement {
    enum class Until : std::uint8_t {
        appears, ///< there is such an element
        disappears,
        enabled,
        focused,
    };

    std::optional<std::string> role;  ///< the whole role, such as "AXButton"
    std::optional<std::string> name;  ///< a part of the title or of the description, in any case
    std::optional<std::string> value; ///< the whole value, as far as values are read
    Until until = Until::appears;

    struct Finding {
        bool isMatched = false;
        std::optional<UiElementInfo> element; ///< the first one that matches; `nullopt` after a disappearance
    };
    Finding in(UiTreeSnapshot const& snapshot) const;

    /// Whether a snapshot of only the elements that a person can operate is enough.
    bool isOperable() const;

private:
    /// What a snapshot's texts are compared with. Made once, because the wanted texts may be long.
    struct Texts {
        std::string upperName;
        std::optional<std::string> value;
    };

    bool describes(UiElementInfo const& element, Texts const& texts) const;
    bool isReached(UiElementInfo const& element) const;
};

} // namespace zelvo
