#pragma once

#include <map>
#include <string>
#include <string_view>

namespace zelvo::service {

/// The language of the texts that an "Accept-Language" header prefers; English if it names none of them.
std::string preferredLanguage(std::string_view acceptLanguage);

/// Text with the characters that mean something in HTML replaced.
std::string htmlText(std::string_view text);

/// A page in a language. "{{key}}" in it is replaced by the text of that key, "{{name}}" for the HTML of that
/// name in `parts`. {0} in a text becomes `argument`.
std::string filledPage(std::string_view page,
                       std::string_view language,
                       std::string_view argument,
                       std::map<std::string, std::string, std::less<>> const& parts);

} // namespace zelvo::service
