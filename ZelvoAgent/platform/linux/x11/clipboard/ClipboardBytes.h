#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// What the bytes of a text mean.
enum class ClipboardEncoding {
    utf8,
    latin1, ///< the type STRING: ISO 8859-1
    unsaid, ///< UTF-8 where it is well-formed, else ISO 8859-1
};

/// A text as another program gave it.
struct ClipboardBytes {
    ClipboardEncoding encoding = ClipboardEncoding::utf8;
    std::string bytes;
    bool operator==(ClipboardBytes const&) const = default;

    /// As well-formed UTF-8: what is ill-formed is replaced by U+FFFD, and a closing NUL, which some programs
    /// send along, is left out.
    std::string text() const;
};

/// A text as it is given to other programs.
struct OfferedText {
    /// What is ill-formed in it is replaced by U+FFFD.
    explicit OfferedText(std::string text);

    std::string utf8;
    /// The bytes for the type STRING; what it has no character for is a question mark.
    std::string_view latin1() const { return other ? std::string_view(*other) : std::string_view(utf8); }

private:
    std::optional<std::string> other; ///< absent when both are the same, as for ASCII
};

std::string utf8FromLatin1(std::string_view bytes);
/// text: well-formed UTF-8.
std::string latin1FromUtf8(std::string_view text);

/// One of several conversions that are asked for at once.
struct AtomPair {
    std::uint32_t target = 0;
    std::uint32_t property = 0; ///< 0 says that it failed
    bool operator==(AtomPair const&) const = default;
};

/// Reads the value of a property, 32-bit numbers in this machine's order. Nothing when it is no list of
/// whole pairs, or when it is empty.
std::optional<std::vector<AtomPair>> parseAtomPairs(std::string_view value);

} // namespace zelvo
