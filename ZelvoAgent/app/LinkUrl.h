#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The one-time token of a link URL, `zelvo://link?token=T`. Scheme and host are compared exactly, including
/// case; the first of several tokens counts. An empty value is a token. `nullopt` for any other text, a token
/// without a value, and a value that is not UTF-8 after percent-decoding.
std::optional<std::string> linkTokenOf(std::string_view url);

} // namespace zelvo
