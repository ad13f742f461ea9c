#pragma once

#include <cstddef>
#include <string>

namespace zelvo {

/// No more of a title is read; divisible by 4.
inline constexpr std::size_t maxTitleBytes = 1024;

/// A window's title, or another text that it says of itself, as UTF-8, ill-formed sequences replaced.
/// bytes      of _NET_WM_NAME, WM_NAME or WM_CLASS
/// isLatin1   the property says so; that is believed only where it can't be UTF-8
/// isCut      there is more: half a character at the end goes
std::string windowTitle(std::string bytes, bool isLatin1, bool isCut);

/// The same for a whole title that should be UTF-8, cut where it is too long.
std::string boundedTitle(std::string const& title);

} // namespace zelvo
