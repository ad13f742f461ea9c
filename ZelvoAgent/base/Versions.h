#pragma once

#include <string_view>

namespace zelvo {

/// Compares dotted versions number by number: "0.10" is not below "0.9", and "1" equals "1.0".
/// Ignores what follows the numbers ("-beta"). A text that does not begin with a number
/// counts as 0.
bool isVersionBelow(std::string_view version, std::string_view minimum);

} // namespace zelvo
