#pragma once

#include <string_view>

namespace zelvo::service {

/// Whether a browser may be sent to this URL after a link: https anywhere, or http on this very computer.
/// Script URLs, relative ones and ones with a user name are none.
bool isRedirectUrl(std::string_view url);

} // namespace zelvo::service
