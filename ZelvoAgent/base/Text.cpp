#include "base/Text.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>

namespace zelvo::text {

namespace {

// Of foreign text for one line, so that a text of many megabytes costs no more than a short one. Even an
// emoji of a family has fewer.
constexpr std::size_t maxCharacterBytes = 64;

bool isAscii(std::string_view text)
{
    // CR LF is two bytes but one user-perceived character.
    return std::ranges::all_of(text,
                               [](char c) { return static_cast<unsigned char>(c) < 0x80 && c != '\r'; });
}

char asciiLowercased(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

icu::UnicodeString unicode(std::string_view text)
{
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string utf8(icu::UnicodeString const& text)
{
    std::string out;
    text.toUTF8String(out);
    return out;
}

/// Iterates over the character boundaries of a text, in bytes.
class Characters {
public:
    explicit Characters(std::string_view text)
    {
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&access, text.data(), static_cast<int64_t>(text.size()), &status);
        thread_local std::unique_ptr<icu::BreakIterator> const shared = [] {
            UErrorCode made = U_ZERO_ERROR;
            return std::unique_ptr<icu::BreakIterator>(
                icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), made));
        }();
        breaks = shared.get();
        breaks->setText(&access, status);
        breaks->first();
    }
    Characters(Characters const&) = delete;
    Characters& operator=(Characters const&) = delete;
    ~Characters() { utext_close(&access); }

    /// The byte offset where the next character ends; -1 at the end of the text.
    int32_t next() { return breaks->next(); }

private:
    UText access = UTEXT_INITIALIZER;
    icu::BreakIterator* breaks = nullptr; // Shared per thread, so only one iteration at a time.
};

bool isTrimmed(UChar32 c)
{
    return u_isUWhiteSpace(c) || u_isspace(c);
}

UChar32 firstCodePoint(std::string_view character)
{
    return unicode(character).char32At(0);
}

/// True if the first code point is upper case.
bool isUppercase(std::string_view character)
{
    if (isAscii(character))
        return character.front() >= 'A' && character.front() <= 'Z';
    return u_hasBinaryProperty(firstCodePoint(character), UCHAR_UPPERCASE);
}

} // namespace

std::size_t characterCount(std::string_view text)
{
    if (isAscii(text))
        return text.size();
    Characters characters(text);
    std::size_t count = 0;
    while (characters.next() >= 0)
        ++count;
    return count;
}

std::string prefix(std::string_view text, std::size_t count)
{
    if (isAscii(text))
        return std::string(text.substr(0, count));
    Characters characters(text);
    std::size_t end = 0;
    for (std::size_t taken = 0; taken < count; ++taken) {
        int32_t const next = characters.next();
        if (next < 0)
            break;
        end = static_cast<std::size_t>(next);
    }
    return std::string(text.substr(0, end));
}

std::string_view prefixOfBytes(std::string_view text, std::size_t bytes)
{
    if (bytes >= text.size())
        return text;
    auto const* const start = reinterpret_cast<std::uint8_t const*>(text.data());
    auto end = static_cast<std::int32_t>(bytes);
    U8_SET_CP_START(start, 0, end);
    return text.substr(0, static_cast<std::size_t>(end));
}

std::vector<std::string> chunks(std::string_view text, std::size_t size)
{
    std::vector<std::string> pieces;
    Characters characters(text);
    std::size_t start = 0;
    std::size_t end = 0;
    std::size_t taken = 0;
    for (int32_t next = characters.next(); next >= 0; next = characters.next()) {
        end = static_cast<std::size_t>(next);
        if (++taken == size) {
            pieces.emplace_back(text.substr(start, end - start));
            start = end;
            taken = 0;
        }
    }
    if (start < end || pieces.empty())
        pieces.emplace_back(text.substr(start, end - start));
    return pieces;
}

std::string trimmed(std::string_view text)
{
    icu::UnicodeString const all = unicode(text);
    int32_t start = 0;
    int32_t end = all.length();
    while (start < end && isTrimmed(all.char32At(start)))
        start = all.moveIndex32(start, 1);
    while (end > start && isTrimmed(all.char32At(end - 1)))
        end = all.moveIndex32(end, -1);
    return utf8(all.tempSubStringBetween(start, end));
}

std::string withoutControlCharacters(std::string_view text)
{
    icu::UnicodeString const all = unicode(text);
    icu::UnicodeString kept;
    for (int32_t at = 0; at < all.length(); at = all.moveIndex32(at, 1)) {
        UChar32 const c = all.char32At(at);
        int8_t const type = u_charType(c);
        bool const breaksLine = type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
        if (type != U_CONTROL_CHAR && type != U_FORMAT_CHAR && !breaksLine)
            kept.append(c);
    }
    return utf8(kept);
}

std::string shownInLine(std::string_view text, std::size_t longest)
{
    std::string_view const start = prefixOfBytes(text, (longest + 1) * maxCharacterBytes);
    std::string const plain = withoutControlCharacters(start);
    std::string cut = prefix(plain, longest);
    bool const isCut = cut.size() < plain.size() || start.size() < text.size();
    return isCut ? cut + "…" : cut;
}

std::string lowercased(std::string_view text)
{
    return utf8(unicode(text).toLower(icu::Locale::getRoot()));
}

std::string uppercased(std::string_view text)
{
    return utf8(unicode(text).toUpper(icu::Locale::getRoot()));
}

std::string capitalized(std::string_view text)
{
    std::string const first = prefix(text, 1);
    return uppercased(first) + std::string(text.substr(first.size()));
}

std::string camelCaseSplit(std::string_view text)
{
    Characters characters(text);
    std::string split;
    bool mayFollow = false; // The previous character is neither upper case nor white space.
    std::size_t start = 0;
    for (int32_t next = characters.next(); next >= 0; next = characters.next()) {
        auto const end = static_cast<std::size_t>(next);
        std::string_view const character = text.substr(start, end - start);
        bool const isUpper = isUppercase(character);
        if (isUpper && mayFollow)
            split += ' ';
        split += character;
        mayFollow = !isUpper && !isTrimmed(firstCodePoint(character));
        start = end;
    }
    return split;
}

std::string wordsOnly(std::string_view text)
{
    icu::UnicodeString const all = unicode(text);
    icu::UnicodeString words;
    bool inGap = false;
    for (int32_t at = 0; at < all.length(); at = all.moveIndex32(at, 1)) {
        UChar32 const c = all.char32At(at);
        bool const isKept = (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
        if (isKept)
            words.append(c);
        else if (!inGap)
            words.append(UChar32{' '});
        inGap = !isKept;
    }
    return utf8(words);
}

bool equalIgnoringCase(std::string_view left, std::string_view right)
{
    if (isAscii(left) && isAscii(right)) // Most names are, and ICU would copy both.
        return std::ranges::equal(left, right, {}, asciiLowercased, asciiLowercased);
    return unicode(left).caseCompare(unicode(right), U_FOLD_CASE_DEFAULT) == 0;
}

bool isUtf8(std::string_view bytes)
{
    auto const length = static_cast<int32_t>(bytes.size());
    auto const* const data = reinterpret_cast<uint8_t const*>(bytes.data());
    int32_t at = 0;
    while (at < length) {
        UChar32 c = 0;
        U8_NEXT(data, at, length, c); // NOLINT(bugprone-inc-dec-in-conditions): ICU's macro.
        if (c < 0)
            return false;
    }
    return true;
}

std::string repaired(std::string_view bytes)
{
    if (isUtf8(bytes))
        return std::string(bytes);
    return utf8(unicode(bytes));
}

} // namespace zelvo::text
