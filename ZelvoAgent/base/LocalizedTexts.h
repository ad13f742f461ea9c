#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelvo {

/// The value of a placeholder.
using TextArgument = std::variant<std::string, std::int64_t>;

/// The text of a dotted key in the desktop's language, or in English if there are no texts in that language.
/// Returns the key itself if it has no text. Arguments fill the placeholders {0}, {1}, ... of the ICU
/// message format. Thread: any.
std::string localized(std::string_view key);
std::string localized(std::string_view key, std::initializer_list<TextArgument> arguments);

namespace texts {

/// The languages of the texts: "en", "ru".
std::vector<std::string> languages();
/// Sets the language of all later texts. For tests, and for a desktop that changes its language.
void useLanguage(std::string_view language);
/// The language set in the environment: LANGUAGE, LC_ALL, LC_MESSAGES, LANG in this order.
std::string languageOfEnvironment();
/// All keys of a language.
std::vector<std::string> keys(std::string_view language);
/// The raw message format of a key; empty if there is none.
std::string pattern(std::string_view language, std::string_view key);

} // namespace texts

} // namespace zelvo
