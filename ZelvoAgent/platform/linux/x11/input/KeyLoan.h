#pragma once

#include "platform/linux/x11/input/KeySymbols.h"

#include <cstdint>
#include <span>
#include <vector>

namespace zelvo {

/// A key that we changed: what it types now, and what it typed before.
struct KeyLoan {
    std::uint8_t keycode = 0;
    KeySymbols bound;
    KeySymbols former;
    bool operator==(KeyLoan const&) const = default;
};

/// Loans as the 32-bit values of a window property, from which a later start gives back what a killed one
/// could not. Reading takes as many whole loans as there are; a property that is not ours gives none.
std::vector<std::uint32_t> writeLoans(std::span<KeyLoan const> loans);
std::vector<KeyLoan> readLoans(std::span<std::uint32_t const> values);

} // namespace zelvo
