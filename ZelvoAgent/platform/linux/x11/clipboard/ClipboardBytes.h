#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The encoding of a text's bytes.
enum class ClipboardEncoding {
    utf8,
    latin1, ///< the type STRING: ISO 8859-1
    unsaid, ///< UTF-8 if well-formed, else ISO 8859-1
};

/// A text from another program.
struct ClipboardBytes {
    ClipboardEncoding encoding = ClipboardEncoding::utf8;
    std::string bytes;
    bool operator==(ClipboardBytes const&) const = default;

    /// As well-formed UTF-8: invalid sequences are replaced by U+FFFD, and a final NUL, which some programs
    /// append, is removed.
    std::string text() const;
};

/// A text for other programs.
struct OfferedText {
    /// Invalid sequences are replaced by U+FFFD.
    explicit OfferedText(std::string text);

    std::string utf8;
    /// The bytes for the type STRING; other characters become question marks.
    std::string_view latin1() const { return other ? std::string_view(*other) : std::string_view(utf8); }

private:
    std::optional<std::string> other; ///< absent if both are equal, as for ASCII
};

std::string utf8FromLatin1(std::string_view bytes);
/// text  well-formed UTF-8
std::string latin1FromUtf8(std::string_view text);

/// One conversion of a MULTIPLE request.
struct AtomPair {
    std::uint32_t target = 0;
    std::uint32_t property = 0; ///< 0 if it failed
    bool operator==(AtomPair const&) const = default;
};

/// Parses the value of a property, 32-bit numbers in this machine's byte order. `nullopt` if it is no list of
/// whole pairs or is empty.
std::optional<std::vector<AtomPair>> parseAtomPairs(std::string_view value);

} // namespace zelvo
