#include "platform/linux/x11/input/KeyLoan.h"

#include <optional>

namespace zelvo {

namespace {

constexpr std::uint32_t formVersion = 0x5A4B0001;
/// More symbols than any key can have: four groups of 63 levels.
constexpr std::uint32_t maxSymbols = 252;

void write(std::vector<std::uint32_t>& values, KeySymbols const& key)
{
    values.push_back(key.types[0] | key.types[1] << 8 | key.types[2] << 16 |
                     static_cast<std::uint32_t>(key.types[3]) << 24);
    values.push_back(key.groups | static_cast<std::uint32_t>(key.width) << 8);
    values.push_back(static_cast<std::uint32_t>(key.symbols.size()));
    values.insert(values.end(), key.symbols.begin(), key.symbols.end());
}

/// Takes a key off the front of the values.
std::optional<KeySymbols> read(std::span<std::uint32_t const>& values)
{
    if (values.size() < 3 || values[2] > maxSymbols || values.size() - 3 < values[2])
        return std::nullopt;
    auto const byte = [](std::uint32_t value, int at) {
        return static_cast<std::uint8_t>(value >> (8 * at));
    };
    KeySymbols key{.types = {byte(values[0], 0), byte(values[0], 1), byte(values[0], 2), byte(values[0], 3)},
                   .groups = byte(values[1], 0),
                   .width = byte(values[1], 1)};
    auto const symbols = values.subspan(3, values[2]);
    key.symbols.assign(symbols.begin(), symbols.end());
    values = values.subspan(3 + values[2]);
    return key;
}

} // namespace

std::vector<std::uint32_t> writeLoans(std::span<KeyLoan const> loans)
{
    std::vector<std::uint32_t> values{formVersion};
    for (KeyLoan const& loan : loans) {
        values.push_back(loan.keycode);
        write(values, loan.bound);
        write(values, loan.former);
    }
    return values;
}

std::vector<KeyLoan> readLoans(std::span<std::uint32_t const> values)
{
    std::vector<KeyLoan> loans;
    if (values.empty() || values[0] != formVersion)
        return loans;
    values = values.subspan(1);
    while (!values.empty() && values[0] <= 255) {
        auto const keycode = static_cast<std::uint8_t>(values[0]);
        values = values.subspan(1);
        auto bound = read(values);
        auto former = bound ? read(values) : std::nullopt;
        if (!former)
            break;
        loans.push_back({keycode, std::move(*bound), std::move(*former)});
    }
    return loans;
}

} // namespace zelvo
