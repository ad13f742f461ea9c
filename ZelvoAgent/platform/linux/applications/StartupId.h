#pragma once

#include <string>

namespace zelvo {

/// A new startup id. The time in it is what lets the new window come to the front.
std::string newStartupId();

} // namespace zelvo
