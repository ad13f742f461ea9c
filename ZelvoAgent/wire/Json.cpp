#include "wire/Json.h"

#include "wire/LongText.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/serializer.hpp>
#include <boost/json/value_stack.hpp>

#include <charconv>
#include <cmath>

namespace zelvo {

namespace {

constexpr std::size_t maxNesting = 512;
constexpr std::size_t maxValues = 1'000'000; // A value of three bytes of text takes 64 of memory.
// An object's table finds keys by a hash that whoever sends them can work out. With keys that collide it
// takes quadratic time, so no object may be large. Ours are records; the largest is the environment of a
// command.
constexpr std::size_t maxMembers = 1000;

/// Builds the value from the parser's events. Numbers are read from their text, so that they are exact.
class ValueBuilder {
public:
    using error_code = boost::system::error_code;
    using string_view = json::string_view;

    static constexpr std::size_t max_object_size = std::size_t(-1);
    static constexpr std::size_t max_array_size = std::size_t(-1);
    static constexpr std::size_t max_key_size = std::size_t(-1);
    static constexpr std::size_t max_string_size = std::size_t(-1);

    ValueBuilder(std::string_view document, LongText* wanted) : document(document), wanted(wanted)
    {
        stack.reset();
    }

    json::value release() { return stack.release(); }

    bool on_document_begin(error_code&) { return true; }
    bool on_document_end(error_code&) { return true; }
    bool on_object_begin(error_code&) { return begins(); }
    bool on_object_end(std::size_t count, error_code& error)
    {
        if (count > maxMembers) {
            error = json::error::object_too_large;
            return false;
        }
        --depth;
        stack.push_object(count);
        return counts(error);
    }
    bool on_array_begin(error_code&) { return begins(); }
    bool on_array_end(std::size_t count, error_code& error)
    {
        --depth;
        stack.push_array(count);
        return counts(error);
    }
    bool on_key_part(string_view part, std::size_t, error_code&)
    {
        stack.push_chars(part);
        key.append(part);
        return true;
    }
    bool on_key(string_view part, std::size_t, error_code&)
    {
        stack.push_key(part);
        key.append(part);
        if (wanted && depth == 1)
            isOuter = key == wanted->outer;
        if (wanted && depth == 2)
            isInner = isOuter && key == wanted->inner;
        key.clear();
        return true;
    }
    bool on_string_part(string_view part, std::size_t, error_code&)
    {
        hasParts = true;
        stack.push_chars(part);
        return true;
    }
    bool on_string(string_view part, std::size_t, error_code& error)
    {
        if (!std::exchange(hasParts, false) && isWanted(part)) {
            wanted->offset = static_cast<std::size_t>(part.data() - document.data());
            wanted->bytes = part.size();
            stack.push_uint64(0);
        } else {
            stack.push_string(part);
        }
        return counts(error);
    }
    bool on_number_part(string_view part, error_code&)
    {
        digits.append(part);
        return true;
    }
    bool on_int64(std::int64_t, string_view part, error_code& error) { return number(part, 0, error); }
    bool on_uint64(std::uint64_t, string_view part, error_code& error) { return number(part, 0, error); }
    bool on_double(double near, string_view part, error_code& error) { return number(part, near, error); }
    bool on_bool(bool value, error_code& error)
    {
        stack.push_bool(value);
        return counts(error);
    }
    bool on_null(error_code& error)
    {
        stack.push_null();
        return counts(error);
    }
    bool on_comment_part(string_view, error_code&) { return true; }
    bool on_comment(string_view, error_code&) { return true; }

private:
    bool begins()
    {
        ++depth;
        isInner = false;
        return true;
    }

    /// Whether a text that was read in one piece is the long one.
    bool isWanted(string_view part) const
    {
        return wanted && wanted->bytes == 0 && depth == 2 && isInner && part.size() >= wanted->minBytes &&
               !part.empty() && part.data() >= document.data() &&
               part.data() + part.size() <= document.data() + document.size();
    }

    /// One value more. Ends the parsing when there are too many.
    bool counts(error_code& error)
    {
        if (++values <= maxValues)
            return true;
        error = json::error::array_too_large;
        return false;
    }

    bool number(string_view part, double near, error_code& error)
    {
        digits.append(part);
        std::string const text = std::exchange(digits, {});
        char const* const end = text.data() + text.size();
        std::int64_t whole = 0;
        if (auto const read = std::from_chars(text.data(), end, whole);
            read.ec == std::errc() && read.ptr == end) {
            stack.push_int64(whole);
            return counts(error);
        }
        double value = 0;
        auto const read = std::from_chars(text.data(), end, value);
        if (read.ec == std::errc::result_out_of_range && std::abs(near) >= 1) {
            error = json::error::exponent_overflow;
            return false;
        }
        pushDouble(read.ec == std::errc() ? value : 0.0);
        return counts(error);
    }

    void pushDouble(double value)
    {
        // 2^63 is the first double that no longer fits.
        if (std::trunc(value) == value && value >= -0x1p63 && value < 0x1p63)
            stack.push_int64(static_cast<std::int64_t>(value));
        else
            stack.push_double(value);
    }

    std::string_view const document;
    LongText* const wanted; // May be null.
    json::value_stack stack;
    std::string key; // That is being read.
    std::size_t depth = 0;
    bool isOuter = false;  // The last key at depth 1 is the outer one.
    bool isInner = false;  // The last key at depth 2 is the inner one.
    bool hasParts = false; // The text that is being read came in parts, so it is not whole in the document.
    std::size_t values = 0;
    std::string digits; // Of the number that is being read in parts.
};

std::optional<json::value> parse(std::string_view text, LongText* wanted)
{
    json::parse_options options;
    options.max_depth = maxNesting;
    json::basic_parser<ValueBuilder> parser(options, text, wanted);
    boost::system::error_code error;
    std::size_t const used = parser.write_some(false, text.data(), text.size(), error);
    if (error || used < text.size() || !parser.done())
        return std::nullopt;
    return parser.handler().release();
}

/// How long a value's text is, as long as nothing in it has to be escaped; numbers count as long ones.
std::size_t expectedSize(json::value const& value);

constexpr std::size_t signs = 4; // Quotes, a colon or bracket, a comma.

std::size_t expectedSize(json::object const& object)
{
    std::size_t size = signs;
    for (json::key_value_pair const& entry : object)
        size += entry.key().size() + signs + expectedSize(entry.value());
    return size;
}

std::size_t expectedSize(json::value const& value)
{
    constexpr std::size_t maxNumberLength = 24;
    if (value.is_object())
        return expectedSize(value.get_object());
    if (value.is_string())
        return value.get_string().size() + signs;
    if (!value.is_array())
        return maxNumberLength + signs;
    std::size_t size = signs;
    for (json::value const& item : value.get_array())
        size += expectedSize(item);
    return size;
}

// Into a text that is made large enough beforehand: one that grows by doubling would for a moment take three
// times the memory of a body of a hundred megabytes.
template <class Value>
std::string textOf(Value const& value)
{
    constexpr std::size_t least = 256;
    std::string text(expectedSize(value) + least, '\0');
    std::size_t written = 0;
    json::serializer writer;
    for (writer.reset(&value); !writer.done();) {
        if (text.size() - written < least)
            text.resize(text.size() + text.size() / 2);
        written += writer.read(text.data() + written, text.size() - written).size();
    }
    text.resize(written);
    return text;
}

} // namespace

std::optional<json::value> parseJson(std::string_view text)
{
    return parse(text, nullptr);
}

std::optional<json::value> parseJsonAround(std::string_view text, LongText& wanted)
{
    return parse(text, &wanted);
}

std::string writeJson(json::value const& value)
{
    return textOf(value);
}

std::string writeJson(json::object const& object)
{
    return textOf(object);
}

json::value plainNumber(double number)
{
    constexpr double exact = 9007199254740992; // 2^53: up to it every integer is a double.
    if (std::abs(number) <= exact && std::trunc(number) == number)
        return static_cast<std::int64_t>(number);
    return number;
}

namespace read {

std::optional<std::string> text(json::object const& object, std::string_view key)
{
    json::value const* const found = object.if_contains(key);
    if (!found || !found->is_string())
        return std::nullopt;
    return std::string(found->get_string());
}

std::optional<std::int64_t> integer(json::object const& object, std::string_view key)
{
    json::value const* const found = object.if_contains(key);
    if (!found || !found->is_int64())
        return std::nullopt;
    return found->get_int64();
}

std::optional<double> number(json::object const& object, std::string_view key)
{
    json::value const* const found = object.if_contains(key);
    if (found && found->is_int64())
        return static_cast<double>(found->get_int64());
    if (found && found->is_double())
        return found->get_double();
    return std::nullopt;
}

std::optional<bool> boolean(json::object const& object, std::string_view key)
{
    json::value const* const found = object.if_contains(key);
    if (!found || !found->is_bool())
        return std::nullopt;
    return found->get_bool();
}

json::object const* object(json::object const& object, std::string_view key)
{
    json::value const* const found = object.if_contains(key);
    return found ? found->if_object() : nullptr;
}

json::array const* array(json::object const& object, std::string_view key)
{
    json::value const* const found = object.if_contains(key);
    return found ? found->if_array() : nullptr;
}

} // namespace read

} // namespace zelvo
