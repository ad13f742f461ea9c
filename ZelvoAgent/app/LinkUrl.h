#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The one-time token of a link URL, `zelvo://link?token=T`. Scheme and host are compared exactly, case
/// included; of several tokens the first counts. Nothing for any other text, a token without a value, and a
/// value that is not UTF-8 when its percent signs are resolved; an empty value is a token.
std::optional<std::string> linkTokenOf(std::string_view url);

} // namespace zelvo
