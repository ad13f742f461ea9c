#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// Key names and their virtual key codes: positions on an ANSI keyboard.
namespace zelvo::KeyCodes {

/// `nullopt` for an unknown name. Names are in lower case; symbol keys have names: "equal", not "=".
std::optional<std::uint16_t> code(std::string_view name);

/// The number of names.
std::size_t count();

} // namespace zelvo::KeyCodes
