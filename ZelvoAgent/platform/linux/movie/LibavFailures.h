#pragma once

#include <string>

namespace zelvo {

/// Throws MovieFailure when a code of libav tells failure: `what` and its reason.
void checkLibav(int code, std::string const& what);

} // namespace zelvo
