#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelvo {

/// What a text's placeholder is filled with.
using TextArgument = std::variant<std::string, std::int64_t>;

/// The text of a dotted key in the language of the desktop, English where a language is lacking; the key
/// itself when there is no such text. Arguments fill the placeholders {0}, {1}, ... of the ICU message
/// format. Thread: any.
std::string localized(std::string_view key);
std::string localized(std::string_view key, std::initializer_list<TextArgument> arguments);

namespace texts {

/// The languages that texts exist in ("en", "ru").
std::vector<std::string> languages();
/// Chooses the language for all texts from here on; a test's tool, and for a desktop that changes its
/// language.
void useLanguage(std::string_view language);
/// The language that the environment asks for: LANGUAGE, LC_ALL, LC_MESSAGES, LANG in this order.
std::string languageOfEnvironment();
/// All keys of a language, and the raw pattern of one.
std::vector<std::string> keys(std::string_view language);
std::string pattern(std::string_view language, std::string_view key);

} // namespace texts

} // namespace zelvo
