#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Texts are UTF-8. A character is a user-perceived one: an extended grapheme cluster as ICU defines it.
namespace zelvo::text {

std::size_t characterCount(std::string_view text);
/// The first `count` characters, or the whole text if it is shorter.
std::string prefix(std::string_view text, std::size_t count);
/// The longest prefix of at most `bytes` bytes that ends between two code points.
std::string_view prefixOfBytes(std::string_view text, std::size_t bytes);
/// Splits into pieces of `size` characters; the last one may be shorter. An empty text gives one empty piece.
std::vector<std::string> chunks(std::string_view text, std::size_t size);

/// Removes white space and line ends at both ends.
std::string trimmed(std::string_view text);
/// Removes control and format characters, line and paragraph separators (Unicode categories Cc, Cf, Zl, Zp).
std::string withoutControlCharacters(std::string_view text);
/// Makes foreign text fit for one line on screen: removes control characters and cuts after `longest`
/// characters, or sooner if those are very long. An ellipsis follows a cut text.
std::string shownInLine(std::string_view text, std::size_t longest);

std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);
/// The first character in upper case, the rest as it is.
std::string capitalized(std::string_view text);
/// Inserts a blank before each upper-case character that follows neither white space nor another upper-case
/// character: "sendMessage" becomes "send Message".
std::string camelCaseSplit(std::string_view text);
/// Replaces each run of code points that are neither letters nor numbers with one blank.
std::string wordsOnly(std::string_view text);
bool equalIgnoringCase(std::string_view left, std::string_view right);

bool isUtf8(std::string_view bytes);
/// Replaces every ill-formed UTF-8 sequence with U+FFFD.
std::string repaired(std::string_view bytes);

} // namespace zelvo::text
