#include "platform/linux/x11/input/DesktopSettings.h"

#include <cstddef>
#include <string>

namespace zelvo {

namespace {

enum class SettingType : std::uint8_t { integer = 0, text = 1, color = 2 };

/// Reads values one after the other; past the end it gives zeros and is not `good` any more.
class Reader {
public:
    explicit Reader(std::span<std::uint8_t const> bytes) : bytes(bytes), big(!bytes.empty() && bytes[0] == 1)
    {
    }

    bool good() const { return !failed; }

    std::uint32_t number(std::size_t size)
    {
        auto const part = take(size);
        std::uint32_t value = 0;
        for (std::size_t at = 0; at < part.size(); ++at)
            value |= static_cast<std::uint32_t>(part[big ? part.size() - 1 - at : at]) << (8 * at);
        return value;
    }

    std::span<std::uint8_t const> take(std::size_t size)
    {
        if (failed || bytes.size() - offset < size) {
            failed = true;
            return {};
        }
        auto const part = bytes.subspan(offset, size);
        offset += size;
        return part;
    }

    /// Texts are filled up to a multiple of four bytes.
    std::string padded(std::size_t size)
    {
        auto const part = take(size);
        take((4 - size % 4) % 4);
        return {part.begin(), part.end()};
    }

private:
    std::span<std::uint8_t const> bytes;
    std::size_t offset = 0;
    bool big;
    bool failed = false;
};

} // namespace

std::optional<std::int32_t> integerSetting(std::span<std::uint8_t const> settings, std::string_view name)
{
    Reader reader(settings);
    reader.take(8); // Byte order and serial number.
    std::uint32_t const count = reader.number(4);
    for (std::uint32_t at = 0; at < count && reader.good(); ++at) {
        auto const type = static_cast<SettingType>(reader.number(1));
        reader.take(1);
        std::string const key = reader.padded(reader.number(2));
        reader.take(4); // When it last changed.
        if (type == SettingType::integer) {
            std::uint32_t const value = reader.number(4);
            if (key == name && reader.good())
                return static_cast<std::int32_t>(value);
        } else if (type == SettingType::text) {
            reader.padded(reader.number(4));
        } else if (type == SettingType::color) {
            reader.take(8);
        } else {
            break;
        }
    }
    return std::nullopt;
}

} // namespace zelvo
