#pragma once

#include <string_view>

namespace zelvo {

/// Whether a text is a URL by the letter of RFC 3986, with a scheme or relative to another. An empty text is
/// none, and neither is one with blanks, control characters or letters outside ASCII that are not escaped.
bool isUrl(std::string_view text);
/// Whether it is one with a scheme.
bool isAbsoluteUrl(std::string_view text);

} // namespace zelvo
