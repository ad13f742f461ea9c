#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Texts are UTF-8. A character is a user-perceived one (an extended grapheme cluster), as ICU finds it.
namespace zelvo::text {

std::size_t characterCount(std::string_view text);
/// The first `count` characters; the whole text when it has no more.
std::string prefix(std::string_view text, std::size_t count);
/// Pieces of `size` characters, the last one shorter; an empty text is one empty piece.
std::vector<std::string> chunks(std::string_view text, std::size_t size);

/// Without white space and line ends at both ends.
std::string trimmed(std::string_view text);
/// Without control characters (Unicode categories Cc and Cf).
std::string withoutControlCharacters(std::string_view text);
/// Words of others for a line of ours: without control characters and of at most `longest` characters, an
/// ellipsis behind them when there were more.
std::string shownInLine(std::string_view text, std::size_t longest);

std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);
/// The first character in upper case, the rest as it is.
std::string capitalized(std::string_view text);
/// With a blank before each upper-case character that stands after neither white space nor another such one:
/// "send Message" for "sendMessage".
std::string camelCaseSplit(std::string_view text);
/// With one blank in the place of each run of code points that are neither letters nor numbers.
std::string wordsOnly(std::string_view text);
bool equalIgnoringCase(std::string_view left, std::string_view right);

bool isUtf8(std::string_view bytes);
/// The text with every ill-formed sequence replaced by U+FFFD.
std::string repaired(std::string_view bytes);

} // namespace zelvo::text
