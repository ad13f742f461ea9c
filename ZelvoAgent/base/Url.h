#pragma once

#include <string_view>

namespace zelvo {

/// True for a URI reference by RFC 3986: a URL with a scheme, or a relative one. False for an empty text and
/// for unescaped blanks, control characters and letters outside ASCII.
bool isUrl(std::string_view text);
/// True for a URL with a scheme.
bool isAbsoluteUrl(std::string_view text);

} // namespace zelvo
