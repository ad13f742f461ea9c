#pragma once

#include <string>
#include <string_view>

namespace zelvo {

/// The code points of a UTF-8 text as keys can type them: each line end ("\n", "\r", "\r\n") is one '\n', a
/// tab stays, and the other control characters, which no key stands for, are left out. Ill-formed bytes are
/// left out too.
std::u32string typedCharacters(std::string_view text);

} // namespace zelvo
