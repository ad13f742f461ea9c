#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// The names of keys, and the virtual key codes that they stand for: positions on an ANSI keyboard.
namespace zelvo::KeyCodes {

/// Nothing for a name that is none. Names are in lower case; symbol keys have names, "equal" and not "=".
std::optional<std::uint16_t> code(std::string_view name);

/// How many names there are.
std::size_t count();

} // namespace zelvo::KeyCodes
