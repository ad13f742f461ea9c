#pragma once

#include <cstdint>

namespace zelvo {

/// The states used here, by their number in org.a11y.atspi.Accessible.GetState.
enum class AtspiState {
    active = 1,
    defunct = 6,
    editable = 7,
    enabled = 8,
    expandable = 9,
    focused = 12,
    iconified = 15,
    multiLine = 17,
    selected = 23,
    sensitive = 24,
    showing = 25,
    visible = 30,
    managesDescendants = 31,
    isDefault = 39,
    hasPopup = 42,
};

/// A set of states, one bit each.
struct AtspiStates {
    std::uint64_t bits = 0;

    bool has(AtspiState state) const { return (bits >> static_cast<int>(state) & 1) != 0; }
    AtspiStates& add(AtspiState state)
    {
        bits |= std::uint64_t{1} << static_cast<int>(state);
        return *this;
    }
    bool operator==(AtspiStates const&) const = default;
};

} // namespace zelvo
