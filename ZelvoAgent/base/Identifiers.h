#pragma once

#include <string>

namespace zelvo {

/// A new random UUID in upper case, "8C5F...-...". Unique, but not fit for secrets.
std::string newUuid();
/// `bytes` bytes from the system's random generator as lower-case hexadecimal text. Fit for secrets.
std::string randomHex(std::size_t bytes);

} // namespace zelvo
